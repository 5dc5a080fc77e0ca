#include "app/session_actions_win.h"

#include "app/open_item_win.h"
#include "app/relaunch_win.h"
#include "base/detached_thread.h"
#include "base/paths.h"
#include "win/elevation.h"
#include "win/program_path.h"
#include "win/read_file.h"
#include "win/shell_open.h"

#include <windows.h>

#include <atomic>
#include <chrono>
#include <memory>
#include <thread>

namespace vorda {

namespace {

constexpr std::uint32_t kMaxPageFileBytes = 268'435'456;

// Part of the interface, the Dutch words included.
constexpr const wchar_t* kPageFile = L"ui.built.html";
constexpr const char* kPageMissing = "<h1>ui.html ontbreekt</h1>";

std::string resource(const wchar_t* type) {
  const HRSRC place = FindResourceW(nullptr, MAKEINTRESOURCEW(1), type);
  if (place == nullptr) return {};
  const HGLOBAL loaded = LoadResource(nullptr, place);
  const void* bytes = loaded == nullptr ? nullptr : LockResource(loaded);
  if (bytes == nullptr) return {};
  return {static_cast<const char*>(bytes), SizeofResource(nullptr, place)};
}

// A file next to the program replaces the built-in page. It is read on every request, so that
// someone working on the page only needs to reload it.
std::string page() {
  const std::wstring file = joinPath(parentOf(programPath()), kPageFile);
  if (std::optional<std::string> bytes = readFile(file, kMaxPageFileBytes)) return *bytes;
  std::string bytes = resource(L"HTMLPAGE");
  return bytes.empty() ? kPageMissing : bytes;
}

void quitSoon(RunningOperations& operations) {
  startDetached([&operations] {
    const auto answered = std::chrono::steady_clock::now() + kAnswerSent;
    operations.close(kWaitForOperations);
    std::this_thread::sleep_until(answered);
    ExitProcess(0);
  });
}

// File names contain neither character, but an attacker could use them to end the quoted
// argument and add others.
bool fitsInQuotes(std::wstring_view path) {
  return path.find_first_of(std::wstring_view(L"\"\0", 2)) == std::wstring_view::npos;
}

// On its own thread: the shell can be slow and needs more stack than a connection's thread has.
void reveal(const std::wstring& path) {
  if (!fitsInQuotes(path)) return;
  startDetached([path] { openExplorer(L"/select,\"" + path + L"\""); });
}

void openBin() {
  startDetached([] { openExplorer(L"shell:RecycleBinFolder"); });
}

} // namespace

SessionActions makeSessionActions(AppState& state) {
  SessionActions actions;
  actions.page = page;
  actions.description = [] { return resource(L"APIDESCRIPTION"); };
  actions.quitSoon = [&state] { quitSoon(state.operations); };
  actions.elevated = processElevated;
  // While a prompt is open, further requests do not open another.
  const auto prompting = std::make_shared<std::atomic<bool>>(false);
  actions.elevateSoon = [&state, prompting] {
    startDetached([&state, prompting, owner = GetForegroundWindow()] {
      if (prompting->exchange(true)) return;
      const std::unique_ptr<std::atomic<bool>, void (*)(std::atomic<bool>*)> whileOpen(
          prompting.get(), [](std::atomic<bool>* open) { *open = false; });
      const std::unique_ptr<RunningOperations, void (*)(RunningOperations*)> whilePaused(
          &state.operations, [](RunningOperations* all) { all->resume(); });
      // One that takes longer is not cut off for this: the user may ask again.
      if (!state.operations.pause(kWaitForOperations)) return;
      relaunchElevated(state.server, state.key, owner);
    });
  };
  actions.reveal = reveal;
  actions.openBin = openBin;
  actions.open = openItemSoon;
  return actions;
}

} // namespace vorda
