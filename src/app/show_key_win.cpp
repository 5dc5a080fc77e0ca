#include "app/exit_code.h"
#include "app/modes_win.h"
#include "app/settings_win.h"
#include "app/std_output_win.h"

#include <windows.h>

namespace vorda {

namespace {

// A newly installed service stores its key when it first starts, so wait up to five seconds.
constexpr unsigned kKeyReads = 20;
constexpr DWORD kKeyPauseMs = 250;

} // namespace

int showAgentKey() {
  std::wstring key = readStoredKey();
  for (unsigned reads = 1; key.empty() && reads < kKeyReads; ++reads) {
    Sleep(kKeyPauseMs);
    key = readStoredKey();
  }
  if (key.empty() && !mayReadStoredKey()) {
    showError(L"Reading this machine's agent key takes an administrator.");
    return kExitFailed;
  }
  if (key.empty()) {
    showError(L"There is no agent key on this machine yet.\n"
              L"The agent creates one the first time it starts.");
    return kExitFailed;
  }
  if (!writeStdLine(key, StdStream::output)) {
    showInfo(L"Agent key for this machine:\n\n        " + key +
             L"\n\nEnter this key on the machine you scan from.");
  }
  return kExitDone;
}

} // namespace vorda
