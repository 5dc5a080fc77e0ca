#include "app/settings_win.h"
#include "win/registry_key.h"

#include <doctest/doctest.h>

#include <windows.h>

#include <sddl.h>

using namespace vorda;

namespace {

// Replaces HKEY_LOCAL_MACHINE with an empty key for this process while it lives, so that the
// settings of the machine running the tests are not touched.
class EmptyMachine {
public:
  EmptyMachine() { RegOverridePredefKey(HKEY_LOCAL_MACHINE, root_.get()); }
  EmptyMachine(const EmptyMachine&) = delete;
  EmptyMachine& operator=(const EmptyMachine&) = delete;
  ~EmptyMachine() {
    RegOverridePredefKey(HKEY_LOCAL_MACHINE, nullptr);
    RegDeleteTreeW(HKEY_CURRENT_USER, kRoot);
  }

private:
  static constexpr const wchar_t* kRoot = L"Software\\Vorda unit tests";
  RegistryKey root_ = RegistryKey::create(HKEY_CURRENT_USER, kRoot, KEY_ALL_ACCESS);
};

constexpr const wchar_t* kSettings = L"Software\\Brixmoor\\Vorda";
constexpr const wchar_t* kRestricted = L"D:P(A;CI;KA;;;SY)(A;CI;KA;;;BA)(A;CI;KR;;;SU)";

std::wstring rightsOfSettings() {
  const RegistryKey key =
      RegistryKey::open(HKEY_LOCAL_MACHINE, kSettings, READ_CONTROL | KEY_WOW64_64KEY);
  BYTE bytes[1024];
  DWORD size = sizeof bytes;
  REQUIRE(RegGetKeySecurity(key.get(), DACL_SECURITY_INFORMATION, bytes, &size) == ERROR_SUCCESS);
  wchar_t* text = nullptr;
  REQUIRE(ConvertSecurityDescriptorToStringSecurityDescriptorW(
      bytes, SDDL_REVISION_1, DACL_SECURITY_INFORMATION, &text, nullptr));
  std::wstring rights(text);
  LocalFree(text);
  return rights;
}

} // namespace

TEST_CASE("settings: stored, missing, invalid and of the wrong type") {
  const EmptyMachine machine;
  CHECK(readStoredKey().empty());
  const std::wstring made = getOrCreateKey();
  CHECK(made.size() == 20);
  CHECK(readStoredKey() == made);
  CHECK(getOrCreateKey() == made);
  CHECK(generateAgentKey() != made);

  const RegistryKey key =
      RegistryKey::open(HKEY_LOCAL_MACHINE, kSettings, KEY_READ | KEY_WRITE | KEY_WOW64_64KEY);
  REQUIRE(key.text(L"Token") == made);
  const auto set = [&key](const wchar_t* name, DWORD type, const void* bytes, DWORD count) {
    REQUIRE(RegSetValueExW(key.get(), name, 0, type, static_cast<const BYTE*>(bytes), count) == 0);
  };
  CHECK(readPortSetting(kPortSetting) == 0);
  for (const auto& [stored, read] :
       {std::pair<DWORD, DWORD>{1, 1}, {65535, 65535}, {0, 0}, {65536, 0}, {73202, 0}}) {
    set(kPortSetting, REG_DWORD, &stored, sizeof stored);
    CHECK(readPortSetting(kPortSetting) == read);
  }
  set(kPortSetting, REG_DWORD, "80", 2);
  CHECK(readPortSetting(kPortSetting) == 0);
  set(kPortSetting, REG_SZ, L"8", 4); // the size of a REG_DWORD
  CHECK(readPortSetting(kPortSetting) == 0);

  set(L"Token", REG_EXPAND_SZ, L"abc", 8);
  CHECK(readStoredKey().empty());
  set(L"Token", REG_SZ, L"any text", 16); // not terminated
  CHECK(getOrCreateKey() == L"any text");
  const std::wstring longKey(300, L'k');
  set(L"Token", REG_SZ, longKey.c_str(), 602);
  CHECK(readStoredKey() == longKey.substr(0, 255));
}

TEST_CASE("stored keys can be read by administrators and services only") {
  const EmptyMachine machine;
  REQUIRE_FALSE(getOrCreateKey().empty());
  CHECK(mayReadStoredKey());
  CHECK(rightsOfSettings() == kRestricted);
}

TEST_CASE("an update leaves the ports to every user, unless there is a key among the settings") {
  const EmptyMachine machine;
  noteUpdate();
  const std::wstring rights = rightsOfSettings();
  CHECK(rights != kRestricted);
  {
    const RegistryKey key =
        RegistryKey::open(HKEY_LOCAL_MACHINE, kSettings, KEY_SET_VALUE | KEY_WOW64_64KEY);
    REQUIRE(key.setText(L"Token", L"stored by an earlier version"));
  }
  CHECK(rightsOfSettings() == rights);
  noteUpdate();
  CHECK(rightsOfSettings() == kRestricted);
}
