#include "app/browser_address.h"
#include "app/exit_code.h"
#include "app/hidden_window_win.h"
#include "app/modes_win.h"
#include "app/port_choice.h"
#include "app/service_win.h"
#include "app/settings_win.h"
#include "app/std_output_win.h"
#include "base/text.h"
#include "update/hand_over_store_win.h"
#include "win/shell_open.h"

#include <windows.h>

namespace vorda {

namespace {

// Without the right to store a key, an agent still runs with a temporary one. A service does
// not, because nobody could ever see its key.
std::wstring resolveKey(const CommandLineOptions& options) {
  if (!options.token.empty()) return options.token;
  std::wstring key = getOrCreateKey();
  if (key.empty() && !options.service) key = generateAgentKey();
  return key;
}

void openBrowser(const AppState& state, const CommandLineOptions& options) {
  const std::wstring key = options.server ? toUtf16(state.key) : std::wstring();
  shellOpen(browserAddress(state.server.actualPort, key, options.scanPath));
}

int serveUntilClosed(AppState& state, const CommandLineOptions& options) {
  const bool network = options.agent || options.server;
  const PortRequest request = {
      options.port, readPortSetting(network ? kAgentPortSetting : kPortSetting), network};
  const PortTrial trial = {[&state, network](std::uint16_t port, std::wstring& reason) {
                             return startServer(state.server, port, network, reason);
                           },
                           [](unsigned milliseconds) { Sleep(milliseconds); }};
  std::wstring reason;
  const auto start = [&] {
    if (!startOnSomePort(request, trial, reason)) return false;
    if (!options.agent && !options.noOpen) openBrowser(state, options);
    return true;
  };
  const auto beforeClosing = [network, &state] {
    if (network) noteDuringInstallation();
    return state.operations.any();
  };
  if (runHiddenWindow(state.server, start, beforeClosing)) {
    state.operations.waitUntilNone(kWaitForOperations);
    return kExitDone;
  }
  showErrorBox(startFailureText(request, reason));
  return kExitFailed;
}

} // namespace

int serve(AppState& state, const CommandLineOptions& options) {
  if (!options.agent && !options.server && !options.service) {
    return serveUntilClosed(state, options);
  }
  const std::wstring key = resolveKey(options);
  if (key.empty()) {
    if (!options.service) showErrorBox(L"This mode needs a key, and one could not be created.");
    return kExitFailed;
  }
  state.remote = true;
  state.serverMode = options.server;
  state.key = toUtf8(key);
  if (!options.service) return serveUntilClosed(state, options);
  const std::int32_t port = options.port != 0 ? options.port : kDefaultAgentPort;
  return runService(state.server, state.operations, port) ? kExitDone : kExitFailed;
}

} // namespace vorda
