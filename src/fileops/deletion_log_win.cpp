#include "fileops/deletion_log_win.h"

#include <windows.h>

#include <objbase.h>

#include <shlobj.h>

namespace vorda {

std::wstring deletionLogPath() {
  PWSTR found = nullptr;
  const HRESULT status =
      SHGetKnownFolderPath(FOLDERID_LocalAppData, KF_FLAG_DEFAULT, nullptr, &found);
  const std::wstring base = SUCCEEDED(status) ? found : L"C:";
  CoTaskMemFree(found); // it may have been given even when the call failed
  return base + L"\\Vorda\\verwijderd.log";
}

} // namespace vorda
