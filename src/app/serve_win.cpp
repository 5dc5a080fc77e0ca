#include "app/browser_address.h"
#include "app/exit_code.h"
#include "app/hidden_window_win.h"
#include "app/modes_win.h"
#include "app/port_choice.h"
#include "app/service_win.h"
#include "app/settings_win.h"
#include "app/std_output_win.h"
#include "base/detached_thread.h"
#include "base/text.h"
#include "update/hand_over_store_win.h"
#include "win/port_in_use.h"
#include "win/shell_open.h"
#include "win/signed_in_users.h"

#include <windows.h>

namespace vorda {

namespace {

struct Key {
  std::wstring text;
  bool temporary = false; // nobody can look it up
};

// Without the right to store a key, an agent still runs with a temporary one. A service does
// not, because nobody could ever see its key.
Key resolveKey(const CommandLineOptions& options) {
  if (!options.token.empty()) return {options.token};
  std::wstring key = getOrCreateKey();
  if (!key.empty() || options.service) return {std::move(key)};
  return {generateAgentKey(), true};
}

std::wstring pageAddress(const AppState& state, const CommandLineOptions& options) {
  const std::wstring key = toUtf16(state.key);
  BrowserAddress address;
  address.scanPath = options.scanPath;
  if (options.server) {
    address.key = key;
  } else {
    address.sessionKey = key;
  }
  return browserAddress(state.server.actualPort, address);
}

// A key that is stored nowhere and that no page was opened with. Without a console this is a box,
// which must not keep the program from serving.
void tellTemporaryKey(const AppState& state, const CommandLineOptions& options) {
  const std::wstring text =
      state.remote
          ? L"This agent's key could not be stored. Until it ends, the key on port " +
                std::to_wstring(state.server.actualPort) + L" is\n\n        " + toUtf16(state.key) +
                L"\n\nStart it once as administrator to keep a key."
          : L"This Vorda is locked. Its page opens at\n\n        " + pageAddress(state, options);
  if (!writeStdLine(text, StdStream::error)) startDetached([text] { showInfo(text); });
}

// For a user who has a console in front of them.
void tellAddress(const AppState& state, const Companion& companion) {
  if (companion.present()) writeStdLine(runningText(state.server.actualPort), StdStream::error);
}

int serveUntilClosed(AppState& state, const CommandLineOptions& options, const Companion& companion,
                     bool temporaryKey = false) {
  const bool network = options.agent || options.server;
  const PortRequest request = {
      options.port, readPortSetting(network ? kAgentPortSetting : kPortSetting), network};
  const PortTrial trial = {[&state, network](std::uint16_t port, std::wstring& reason) {
                             return startServer(state.server, port, network, reason);
                           },
                           [](unsigned milliseconds) { Sleep(milliseconds); }, portInUse};
  companion.whenStopped([thread = GetCurrentThreadId()] {
    if (!closeHiddenWindow(thread)) ExitProcess(kExitDone);
  });
  std::wstring reason;
  const auto start = [&] {
    if (!startOnSomePort(request, trial, reason)) return false;
    const bool opened = !options.agent && !options.noOpen;
    if (opened) shellOpen(pageAddress(state, options));
    if (temporaryKey && !opened) tellTemporaryKey(state, options);
    tellAddress(state, companion);
    return true;
  };
  const auto beforeClosing = [network, &state] {
    try {
      if (network) noteDuringInstallation();
    } catch (...) { // NOLINT(bugprone-empty-catch): closing must not fail; Windows called this
    }
    return state.operations.any();
  };
  if (runHiddenWindow(state.server, start, beforeClosing)) {
    state.operations.close(kWaitForOperations);
    return kExitDone;
  }
  const std::wstring failure = startFailureText(request, reason);
  if (companion.present()) {
    showError(failure);
  } else {
    showErrorBox(failure);
  }
  return kExitFailed;
}

} // namespace

int serve(AppState& state, const CommandLineOptions& options, const Companion& companion) {
  state.startPath.set(options.scanPath);
  state.remote = options.agent || options.server || options.service;
  // Where others are signed in, each of them could delete through a program that asks for no key.
  state.keyRequired = state.remote || options.lock || signedInUsers().size() > 1;
  if (!state.keyRequired) return serveUntilClosed(state, options, companion);
  const Key key =
      state.remote || !options.token.empty() ? resolveKey(options) : Key{generateAgentKey(), true};
  if (key.text.empty()) {
    if (!options.service) showErrorBox(L"This mode needs a key, and one could not be created.");
    return kExitFailed;
  }
  state.serverMode = options.server;
  state.key = toUtf8(key.text);
  if (!options.service) return serveUntilClosed(state, options, companion, key.temporary);
  const std::int32_t port = options.port != 0 ? options.port : kDefaultAgentPort;
  return runService(state.server, state.operations, port) ? kExitDone : kExitFailed;
}

} // namespace vorda
