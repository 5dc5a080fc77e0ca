// An open registry key, which closes itself. If opening failed, valid() is false, reads return
// nothing and writes fail.
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

  // REG_SZ and REG_DWORD. A value of any other type counts as missing, here and below.
  std::optional<std::wstring> text(const wchar_t* name) const;
  std::optional<std::uint32_t> number(const wchar_t* name) const;
  bool setText(const wchar_t* name, const std::wstring& text) const;

  // REG_MULTI_SZ, without its empty strings, and REG_BINARY.
  std::optional<std::vector<std::wstring>> texts(const wchar_t* name) const;
  std::optional<std::vector<BYTE>> bytes(const wchar_t* name) const {
    return raw(name, REG_BINARY);
  }
  bool setTexts(const wchar_t* name, const std::vector<std::wstring>& texts) const;
  bool setBytes(const wchar_t* name, const std::vector<BYTE>& bytes) const;

  // From now on only the system, administrators and services can read this key and those below it,
  // and only the first two can change them. Needs WRITE_DAC. False on failure.
  bool restrictToAdministrators() const;

  // The name of the subkey with this index, counted from 0; nothing after the last one.
  std::optional<std::wstring> subkey(DWORD index) const;

private:
  explicit RegistryKey(HKEY key) : key_(key) {}

  std::optional<std::vector<BYTE>> raw(const wchar_t* name, DWORD type) const;
  bool setRaw(const wchar_t* name, DWORD type, const void* bytes, std::size_t count) const;

  Owned<HKEY, RegCloseKey> key_;
};

} // namespace vorda
