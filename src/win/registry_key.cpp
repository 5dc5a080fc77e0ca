#include "win/registry_key.h"

#include <vector>

namespace vorda {

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

std::optional<std::wstring> RegistryKey::text(const wchar_t* name) const {
  DWORD type = 0;
  DWORD bytes = 0;
  if (!valid() || RegQueryValueExW(key_, name, nullptr, &type, nullptr, &bytes) != ERROR_SUCCESS ||
      type != REG_SZ) {
    return std::nullopt;
  }
  // Whoever wrote the value may have left out the closing zero, or half a character.
  std::vector<wchar_t> buffer(bytes / sizeof(wchar_t) + 2, L'\0');
  bytes = static_cast<DWORD>((buffer.size() - 1) * sizeof(wchar_t));
  if (RegQueryValueExW(key_, name, nullptr, &type, reinterpret_cast<BYTE*>(buffer.data()),
                       &bytes) != ERROR_SUCCESS ||
      type != REG_SZ) {
    return std::nullopt;
  }
  return std::wstring(buffer.data());
}

std::optional<std::uint32_t> RegistryKey::number(const wchar_t* name) const {
  DWORD type = 0;
  DWORD value = 0;
  DWORD bytes = sizeof value;
  if (!valid() ||
      RegQueryValueExW(key_, name, nullptr, &type, reinterpret_cast<BYTE*>(&value), &bytes) !=
          ERROR_SUCCESS ||
      type != REG_DWORD || bytes != sizeof value) {
    return std::nullopt;
  }
  return value;
}

bool RegistryKey::setText(const wchar_t* name, const std::wstring& text) const {
  const auto bytes = static_cast<DWORD>((text.size() + 1) * sizeof(wchar_t));
  return valid() &&
         RegSetValueExW(key_, name, 0, REG_SZ, reinterpret_cast<const BYTE*>(text.c_str()),
                        bytes) == ERROR_SUCCESS;
}

std::optional<std::wstring> RegistryKey::subkey(DWORD index) const {
  wchar_t name[256] = {}; // the longest name a key can have, and its end
  DWORD length = 256;
  if (!valid() || RegEnumKeyExW(key_, index, name, &length, nullptr, nullptr, nullptr, nullptr) !=
                      ERROR_SUCCESS) {
    return std::nullopt;
  }
  return std::wstring(name, length);
}

} // namespace vorda
