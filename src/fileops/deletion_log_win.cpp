#include "fileops/deletion_log_win.h"

#include <windows.h>

#include <objbase.h>

#include <shlobj.h>

#include <string_view>

namespace vorda {

namespace {

// Below the local application data. The Dutch name is part of the interface.
constexpr std::wstring_view kLogName = L"\\Vorda\\verwijderd.log";

} // namespace

std::wstring deletionLogPath() {
  PWSTR found = nullptr;
  const HRESULT status =
      SHGetKnownFolderPath(FOLDERID_LocalAppData, KF_FLAG_DEFAULT, nullptr, &found);
  std::wstring base = SUCCEEDED(status) ? found : L"C:";
  CoTaskMemFree(found); // may be set even after a failure
  return base.append(kLogName);
}

} // namespace vorda
