// The settings of this machine, in the 64-bit registry view under HKLM\Software\Brixmoor\Vorda:
// the ports, which an installer writes and this program only reads, and the agent key. If reading
// fails, a setting counts as missing.
#pragma once

#include <cstdint>
#include <string>

namespace vorda {

// Value names; part of the interface with installers.
inline constexpr const wchar_t* kPortSetting = L"Port";           // of the interactive tool
inline constexpr const wchar_t* kAgentPortSetting = L"AgentPort"; // of --agent and --server

// name: a value name. Returns 1 to 65535, or 0 if there is no valid port.
std::uint32_t readPortSetting(const wchar_t* name);

// Empty if there is none.
std::wstring readStoredKey();

// False where the settings exist and this account may not read them.
bool mayReadStoredKey();

// A new key, which is not stored. Empty if there are no random bytes.
std::wstring generateAgentKey();

// The stored key, or else a new one, which is stored first. Empty if that fails, as it does
// without administrator rights.
std::wstring getOrCreateKey();

// Stores the local time as that of the last installation.
void noteUpdate();

} // namespace vorda
