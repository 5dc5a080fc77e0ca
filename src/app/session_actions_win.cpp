#include "app/session_actions_win.h"

#include "app/relaunch_win.h"
#include "base/detached_thread.h"
#include "win/elevation.h"
#include "win/program_path.h"
#include "win/read_file.h"
#include "win/shell_open.h"

#include <windows.h>

#include <atomic>

namespace vorda {

namespace {

constexpr DWORD kAnswerLeavesMs = 300;
constexpr std::uint32_t kMaxPageFileBytes = 268'435'456;

std::string pageResource() {
  const HRSRC place = FindResourceW(nullptr, MAKEINTRESOURCEW(1), L"HTMLPAGE");
  if (place == nullptr) return {};
  const HGLOBAL loaded = LoadResource(nullptr, place);
  const void* bytes = loaded == nullptr ? nullptr : LockResource(loaded);
  if (bytes == nullptr) return {};
  return {static_cast<const char*>(bytes), SizeofResource(nullptr, place)};
}

// The file beside the program comes first and is read anew each time, so that whoever
// works on the page only reloads it.
std::string page() {
  const std::wstring program = programPath();
  const std::wstring file = program.substr(0, program.rfind(L'\\') + 1) + L"ui.built.html";
  if (std::optional<std::string> bytes = readFile(file, kMaxPageFileBytes)) return *bytes;
  std::string bytes = pageResource();
  return bytes.empty() ? "<h1>ui.html ontbreekt</h1>" : bytes;
}

void quitSoon() {
  startDetached([] {
    Sleep(kAnswerLeavesMs);
    ExitProcess(0);
  });
}

// A file name cannot hold either character: they only serve to end the quoted parameter
// early and to add others.
bool fitsInQuotes(std::wstring_view path) {
  return path.find_first_of(std::wstring_view(L"\"\0", 2)) == std::wstring_view::npos;
}

// On a thread of its own: the shell may take long, and needs more stack than the thread
// of a connection has.
void reveal(const std::wstring& path) {
  if (!fitsInQuotes(path)) return;
  startDetached([path] { shellOpen(L"explorer.exe", L"/select,\"" + path + L"\""); });
}

} // namespace

SessionActions makeSessionActions(ServerState& server) {
  SessionActions actions;
  actions.page = page;
  actions.quitSoon = quitSoon;
  actions.elevated = processElevated;
  // While one prompt is open, asking again opens no other.
  const auto underWay = std::make_shared<std::atomic<bool>>(false);
  actions.elevateSoon = [&server, underWay] {
    startDetached([&server, underWay, owner = GetForegroundWindow()] {
      if (underWay->exchange(true)) return;
      relaunchElevated(server, owner);
      *underWay = false;
    });
  };
  actions.reveal = reveal;
  return actions;
}

} // namespace vorda
