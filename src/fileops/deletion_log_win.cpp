#include "fileops/deletion_log_win.h"

#include <windows.h>

#include <objbase.h>

#include <shlobj.h>

#include <memory>
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
  // May be set even after a failure.
  const std::unique_ptr<wchar_t, decltype(&CoTaskMemFree)> freed(found, CoTaskMemFree);
  std::wstring base = SUCCEEDED(status) ? found : L"C:";
  return base.append(kLogName);
}

} // namespace vorda
