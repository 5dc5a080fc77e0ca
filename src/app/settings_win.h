// The settings of this machine: the ports, which an installer writes and this program
// only reads, and the agent key. They lie in HKLM\Software\Brixmoor\Vorda, in the view of
// 64-bit programs. A failure reads as "not there".
#pragma once

#include <cstdint>
#include <string>

namespace vorda {

inline constexpr const wchar_t* kPortSetting = L"Port";           // of the interactive tool
inline constexpr const wchar_t* kAgentPortSetting = L"AgentPort"; // of --agent and --server

// 1 to 65535, or 0 when there is no such number.
std::uint32_t readPortSetting(const wchar_t* name);

// Empty when there is none.
std::wstring readStoredKey();

// A new key that is stored nowhere; empty when the system gives no random bytes.
std::wstring generateAgentKey();

// The stored key; without one a new key, once it has been stored. Empty when that failed,
// as it does without administrator rights.
std::wstring getOrCreateKey();

// Notes that an installation has just finished.
void noteUpdate();

} // namespace vorda
