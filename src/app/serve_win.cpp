#include "app/serve_win.h"

#include "app/browser_address.h"
#include "app/hidden_window_win.h"
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

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;

// A service that has just been installed writes its key when it starts for the first time.
constexpr unsigned kKeyReads = 20;
constexpr DWORD kKeyPauseMs = 250;

// Without the rights to store a key, an agent still runs with one that holds until it
// ends; nobody would ever learn the one of a service.
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
  if (!startOnSomePort(request, trial, reason)) {
    showErrorBox(startFailureText(request, reason));
    return kExitFailed;
  }
  if (!options.agent && !options.noOpen) openBrowser(state, options);
  runHiddenWindow(state.server, [network] {
    if (network) noteDuringInstallation();
  });
  return kExitDone;
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
  return runService(state.server, port) ? kExitDone : kExitFailed;
}

int showAgentKey() {
  std::wstring key = readStoredKey();
  for (unsigned reads = 1; key.empty() && reads < kKeyReads; ++reads) {
    Sleep(kKeyPauseMs);
    key = readStoredKey();
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
