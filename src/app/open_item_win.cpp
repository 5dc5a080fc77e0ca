#include "app/open_item_win.h"

#include "api/open_api.h"
#include "api/words.h"
#include "base/detached_thread.h"
#include "base/paths.h"
#include "rules/refusal.h"
#include "win/com_apartment.h"

#include <windows.h>

#include <shellapi.h>
#include <shlobj.h>

#include <array>
#include <memory>

namespace vorda {

namespace {

struct FreeItem {
  void operator()(ITEMIDLIST* item) const { ILFree(item); }
};
using ShellItem = std::unique_ptr<ITEMIDLIST, FreeItem>;

void invoke(const std::wstring& path, const wchar_t* verb) {
  const ComApartment apartment;
  const ShellItem item(ILCreateFromPathW(path.c_str()));
  if (!item) return;
  SHELLEXECUTEINFOW what = {};
  what.cbSize = sizeof what;
  what.fMask = SEE_MASK_INVOKEIDLIST;
  what.lpIDList = item.get();
  what.lpVerb = verb;
  what.nShow = SW_SHOWNORMAL;
  ShellExecuteExW(&what);
}

// The command processor of the system folder, whatever the search path and the environment say.
void openTerminal(const std::wstring& folder) {
  std::array<wchar_t, MAX_PATH + 16> system = {};
  const UINT length = GetSystemDirectoryW(system.data(), MAX_PATH);
  if (length == 0 || length >= MAX_PATH) return;
  const std::wstring program = joinPath(system.data(), L"cmd.exe");
  std::wstring arguments = L"cmd.exe"; // CreateProcess may write to it
  STARTUPINFOW startup = {};
  startup.cb = sizeof startup;
  PROCESS_INFORMATION made = {};
  if (!CreateProcessW(program.c_str(), arguments.data(), nullptr, nullptr, FALSE,
                      CREATE_NEW_CONSOLE, nullptr, folder.c_str(), &startup, &made)) {
    return;
  }
  CloseHandle(made.hThread);
  CloseHandle(made.hProcess);
}

} // namespace

std::string_view openItemSoon(Opening what, const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(path.c_str());
  if (attributes == INVALID_FILE_ATTRIBUTES) return wordOf(Refusal::missing);
  const bool folder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  switch (what) {
  case Opening::item:
    if (!folder && startsAsProgram(path)) return words::kProgramRefused;
    startDetached([path] { invoke(path, nullptr); });
    break;
  case Opening::properties: startDetached([path] { invoke(path, L"properties"); }); break;
  case Opening::terminal: {
    std::wstring place = folder ? path : parentOf(path);
    // A console takes no longer working folder.
    if (place.size() >= MAX_PATH - 1) return wordOf(Refusal::tooLong);
    startDetached([place = std::move(place)] { openTerminal(place); });
    break;
  }
  }
  return {};
}

} // namespace vorda
