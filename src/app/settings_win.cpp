#include "app/settings_win.h"

#include "app/agent_key.h"
#include "app/port_choice.h"
#include "base/text.h"
#include "base/time.h"
#include "win/registry_key.h"

#include <ntsecapi.h>

namespace vorda {

namespace {

// Part of the interface with installers, like the names in the header.
constexpr const wchar_t* kSettingsPath = L"Software\\Brixmoor\\Vorda";
constexpr const wchar_t* kTokenSetting = L"Token";
constexpr const wchar_t* kLastUpdateSetting = L"LastUpdate";
constexpr std::size_t kLongestStoredKey = 255; // UTF-16 units

RegistryKey openSettings() {
  return RegistryKey::open(HKEY_LOCAL_MACHINE, kSettingsPath, KEY_READ | KEY_WOW64_64KEY);
}

// withKey: the agent key is among the settings, or is the one to store. Without it everybody may read them,
// since every user's copy listens on the port that is set there.
bool storeSetting(const wchar_t* name, const std::wstring& text, bool withKey) {
  const RegistryKey settings = RegistryKey::create(HKEY_LOCAL_MACHINE, kSettingsPath,
                                                   KEY_SET_VALUE | WRITE_DAC | KEY_WOW64_64KEY);
  // First, so that nobody can read the key in between. Where the rights cannot be set, as on an old
  // key of another owner, storing is still better than an agent whose key nobody knows.
  if (withKey) settings.restrictToAdministrators();
  return settings.setText(name, text);
}

} // namespace

std::uint32_t readPortSetting(const wchar_t* name) {
  const std::uint32_t port = openSettings().number(name).value_or(0);
  return isPortNumber(port) ? port : 0;
}

std::wstring readStoredKey() {
  return openSettings().text(kTokenSetting).value_or(L"").substr(0, kLongestStoredKey);
}

bool mayReadStoredKey() {
  HKEY key = nullptr;
  const LSTATUS status =
      RegOpenKeyExW(HKEY_LOCAL_MACHINE, kSettingsPath, 0, KEY_READ | KEY_WOW64_64KEY, &key);
  const Owned<HKEY, RegCloseKey> owned(key);
  return status != ERROR_ACCESS_DENIED;
}

std::wstring generateAgentKey() {
  std::array<std::uint8_t, kAgentKeyLength> random{};
  if (RtlGenRandom(random.data(), static_cast<ULONG>(random.size())) == FALSE) return {};
  return agentKeyFrom(random);
}

std::wstring getOrCreateKey() {
  std::wstring key = readStoredKey();
  if (!key.empty()) return key;
  key = generateAgentKey();
  return !key.empty() && storeSetting(kTokenSetting, key, true) ? key : std::wstring();
}

void noteUpdate() {
  storeSetting(kLastUpdateSetting, toUtf16(secondText(localNow())), !readStoredKey().empty());
}

} // namespace vorda
