#include "win/shell_open.h"

#include "win/com_apartment.h"

#include <windows.h>

#include <shellapi.h>

namespace vorda {

void shellOpen(const std::wstring& target, const std::wstring& parameters) {
  const ComApartment apartment;
  ShellExecuteW(nullptr, L"open", target.c_str(), parameters.empty() ? nullptr : parameters.c_str(),
                nullptr, SW_SHOWNORMAL);
}

void openExplorer(const std::wstring& parameters) {
  wchar_t windows[MAX_PATH] = {};
  const UINT length = GetSystemWindowsDirectoryW(windows, MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return;
  shellOpen(std::wstring(windows) + L"\\explorer.exe", parameters);
}

} // namespace vorda
