#include "win/registry_key.h"

#include <sddl.h>

#include <cstring>

namespace vorda {

namespace {

// The stored bytes may lack a terminating NUL and may even be odd in number.
std::wstring unitsOf(const std::vector<BYTE>& bytes) {
  std::wstring units(bytes.size() / sizeof(wchar_t), L'\0');
  std::memcpy(units.data(), bytes.data(), units.size() * sizeof(wchar_t));
  return units;
}

} // namespace

RegistryKey RegistryKey::open(HKEY parent, const std::wstring& path, REGSAM access) {
  HKEY key = nullptr;
  const LSTATUS status = RegOpenKeyExW(parent, path.c_str(), 0, access, &key);
  return RegistryKey(status == ERROR_SUCCESS ? key : nullptr);
}

RegistryKey RegistryKey::create(HKEY parent, const std::wstring& path, REGSAM access) {
  HKEY key = nullptr;
  const LSTATUS status =
      RegCreateKeyExW(parent, path.c_str(), 0, nullptr, 0, access, nullptr, &key, nullptr);
  return RegistryKey(status == ERROR_SUCCESS ? key : nullptr);
}

std::optional<std::vector<BYTE>> RegistryKey::raw(const wchar_t* name, DWORD type) const {
  DWORD found = 0;
  DWORD count = 0;
  if (!valid() ||
      RegQueryValueExW(get(), name, nullptr, &found, nullptr, &count) != ERROR_SUCCESS ||
      found != type) {
    return std::nullopt;
  }
  std::vector<BYTE> bytes(count);
  if (RegQueryValueExW(get(), name, nullptr, &found, bytes.data(), &count) != ERROR_SUCCESS ||
      found != type) {
    return std::nullopt;
  }
  bytes.resize(count);
  return bytes;
}

bool RegistryKey::setRaw(const wchar_t* name, DWORD type, const void* bytes,
                         std::size_t count) const {
  return valid() && RegSetValueExW(get(), name, 0, type, static_cast<const BYTE*>(bytes),
                                   static_cast<DWORD>(count)) == ERROR_SUCCESS;
}

std::optional<std::wstring> RegistryKey::text(const wchar_t* name) const {
  const auto bytes = raw(name, REG_SZ);
  if (!bytes) return std::nullopt;
  const std::wstring units = unitsOf(*bytes);
  return units.substr(0, units.find(L'\0'));
}

bool RegistryKey::setText(const wchar_t* name, const std::wstring& text) const {
  return setRaw(name, REG_SZ, text.c_str(), (text.size() + 1) * sizeof(wchar_t));
}

std::optional<std::vector<std::wstring>> RegistryKey::texts(const wchar_t* name) const {
  const auto bytes = raw(name, REG_MULTI_SZ);
  if (!bytes) return std::nullopt;
  std::vector<std::wstring> texts(1);
  for (const wchar_t unit : unitsOf(*bytes)) {
    if (unit != L'\0') {
      texts.back() += unit;
    } else if (!texts.back().empty()) {
      texts.emplace_back();
    }
  }
  if (texts.back().empty()) texts.pop_back();
  return texts;
}

bool RegistryKey::setTexts(const wchar_t* name, const std::vector<std::wstring>& texts) const {
  std::wstring units;
  for (const std::wstring& text : texts) units += text + L'\0';
  return setRaw(name, REG_MULTI_SZ, units.c_str(), (units.size() + 1) * sizeof(wchar_t));
}

bool RegistryKey::setBytes(const wchar_t* name, const std::vector<BYTE>& bytes) const {
  return setRaw(name, REG_BINARY, bytes.data(), bytes.size());
}

std::optional<std::uint32_t> RegistryKey::number(const wchar_t* name) const {
  DWORD type = 0;
  DWORD value = 0;
  DWORD bytes = sizeof value;
  if (!valid() ||
      RegQueryValueExW(get(), name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &bytes) !=
          ERROR_SUCCESS ||
      type != REG_DWORD || bytes != sizeof value) {
    return std::nullopt;
  }
  return value;
}

bool RegistryKey::restrictToAdministrators() const {
  // Protected from what the parent grants; inherited by subkeys.
  constexpr const wchar_t* kRights = L"D:P(A;CI;KA;;;SY)(A;CI;KA;;;BA)(A;CI;KR;;;SU)";
  PSECURITY_DESCRIPTOR made = nullptr;
  if (!valid() || ConvertStringSecurityDescriptorToSecurityDescriptorW(kRights, SDDL_REVISION_1,
                                                                       &made, nullptr) == FALSE) {
    return false;
  }
  const Owned<PSECURITY_DESCRIPTOR, LocalFree> rights(made);
  return RegSetKeySecurity(get(), DACL_SECURITY_INFORMATION, rights.get()) == ERROR_SUCCESS;
}

std::optional<std::wstring> RegistryKey::subkey(DWORD index) const {
  wchar_t name[256] = {}; // the longest key name and its NUL
  DWORD length = 256;
  if (!valid() || RegEnumKeyExW(get(), index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
                      ERROR_SUCCESS) {
    return std::nullopt;
  }
  return std::wstring(name, length);
}

} // namespace vorda
