#include "app/exit_code.h"
#include "app/hidden_window_win.h"
#include "app/modes_win.h"
#include "app/port_choice.h"
#include "app/quit_request_win.h"
#include "app/settings_win.h"

#include <windows.h>

#include <algorithm>
#include <bit>
#include <string_view>
#include <vector>

namespace vorda {

namespace {

constexpr unsigned kRounds = 40;
constexpr unsigned kFinishingRounds = 440; // while file operations are running
constexpr DWORD kRoundMs = 150;
// A process still holds its file and port for a moment after its window is gone.
constexpr DWORD kAfterwardsMs = 500;

BOOL CALLBACK collectHiddenWindow(HWND window, LPARAM list) {
  wchar_t name[64] = {};
  GetClassNameW(window, name, 64);
  DWORD process = 0;
  GetWindowThreadProcessId(window, &process);
  if (std::wstring_view(name) == kHiddenWindowClass && process != GetCurrentProcessId()) {
    std::bit_cast<std::vector<HWND>*>(list)->push_back(window);
  }
  return TRUE;
}

std::vector<HWND> hiddenWindowsOfOthers() {
  std::vector<HWND> windows;
  EnumWindows(collectHiddenWindow, reinterpret_cast<LPARAM>(&windows));
  return windows;
}

bool isFinishing(HWND window) { return GetPropW(window, kFinishingProperty) != nullptr; }

} // namespace

int stopInstances() {
  unsigned asked = 0;
  for (const HWND window : hiddenWindowsOfOthers()) {
    if (PostMessageW(window, WM_CLOSE, 0, 0) != FALSE) ++asked;
  }
  const std::uint32_t stored = readPortSetting(kPortSetting);
  asked += sendQuitRequests(stored != 0 ? stored : kDefaultPort, kStoredPortTries);
  if (asked == 0) return kExitDone;
  for (unsigned round = 0; round < kFinishingRounds; ++round) {
    const std::vector<HWND> windows = hiddenWindowsOfOthers();
    const bool finishing = std::any_of(windows.begin(), windows.end(), isFinishing);
    if (windows.empty() || (round >= kRounds && !finishing)) break;
    Sleep(kRoundMs);
  }
  Sleep(kAfterwardsMs);
  return kExitDone;
}

} // namespace vorda
