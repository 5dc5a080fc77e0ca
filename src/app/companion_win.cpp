#include "app/companion_win.h"

#include "base/companion.h"
#include "base/detached_thread.h"

#include <string>

namespace vorda {

namespace {

// This program attaches itself to the companion's console while it writes to it, and must not be ended
// by a Ctrl+C of that moment: the companion tells about it.
BOOL WINAPI leaveToCompanion(DWORD event) {
  return event == CTRL_C_EVENT || event == CTRL_BREAK_EVENT;
}

} // namespace

Companion takeCompanion() {
  wchar_t text[32] = {};
  const DWORD length = GetEnvironmentVariableW(kStopEventVariable, text, 32);
  if (length == 0 || length >= 32) return Companion();
  SetEnvironmentVariableW(kStopEventVariable, nullptr);
  const auto number = readHandleNumber({text, length});
  if (!number) return Companion();
  KernelHandle stop(reinterpret_cast<HANDLE>(*number)); // NOLINT(performance-no-int-to-ptr)
  // Not a handle of this process, if the variable came from elsewhere.
  if (SetHandleInformation(stop.get(), HANDLE_FLAG_INHERIT, 0) == FALSE) return Companion();
  SetConsoleCtrlHandler(leaveToCompanion, TRUE);
  return Companion(std::move(stop));
}

void Companion::whenStopped(std::function<void()> action) const {
  if (!present()) return;
  startDetached([stop = stop_.get(), action = std::move(action)] {
    if (WaitForSingleObject(stop, INFINITE) == WAIT_OBJECT_0) action();
  });
}

} // namespace vorda
