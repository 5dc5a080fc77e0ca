// An open key of the registry; closes itself. Invalid when it could not be opened: then
// every read finds nothing and every write fails.
#pragma once

#include "win/owned.h"

#include <windows.h>

#include <cstdint>
#include <optional>
#include <string>
#include <vector>

namespace vorda {

class RegistryKey {
public:
  static RegistryKey open(HKEY parent, const std::wstring& path, REGSAM access);
  static RegistryKey create(HKEY parent, const std::wstring& path, REGSAM access);

  bool valid() const { return key_.valid(); }
  HKEY get() const { return key_.get(); }

  // Values of exactly the type REG_SZ and REG_DWORD.
  std::optional<std::wstring> text(const wchar_t* name) const;
  std::optional<std::uint32_t> number(const wchar_t* name) const;
  bool setText(const wchar_t* name, const std::wstring& text) const;

  // Values of exactly the types REG_MULTI_SZ, without empty texts, and REG_BINARY.
  std::optional<std::vector<std::wstring>> texts(const wchar_t* name) const;
  std::optional<std::vector<BYTE>> bytes(const wchar_t* name) const {
    return raw(name, REG_BINARY);
  }
  bool setTexts(const wchar_t* name, const std::vector<std::wstring>& texts) const;
  bool setBytes(const wchar_t* name, const std::vector<BYTE>& bytes) const;

  // The name of the subkey at this place, from 0 on; nothing behind the last.
  std::optional<std::wstring> subkey(DWORD index) const;

private:
  explicit RegistryKey(HKEY key) : key_(key) {}

  std::optional<std::vector<BYTE>> raw(const wchar_t* name, DWORD type) const;
  bool setRaw(const wchar_t* name, DWORD type, const void* bytes, std::size_t count) const;

  Owned<HKEY, RegCloseKey> key_;
};

} // namespace vorda
