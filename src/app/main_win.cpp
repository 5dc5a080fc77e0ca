// The entry point. It assembles the parts of the process and runs the mode that the command line
// asks for.
#include "api/gate.h"
#include "app/askpass_win.h"
#include "app/exit_code.h"
#include "app/modes_win.h"
#include "app/scan_steps_win.h"
#include "app/session_actions_win.h"
#include "base/detached_thread.h"
#include "base/text.h"
#include "fileops/deletion_log_win.h"
#include "fileops/journal.h"
#include "maker.h"
#include "update/check_for_update_win.h"
#include "win/command_line.h"
#include "win/program_version.h"

#include <windows.h>

namespace {

using namespace vorda;

// Called for every request, because drives come and go.
TargetList targets() {
  TargetList list = systemTargets();
  list.version = programVersion();
  list.website = maker::kWebSite;
  list.logPath = deletionLogPath();
  return list;
}

UpdateSource updateSource() {
  const std::wstring current = programVersion();
  return {toUtf8(current), toUtf8(maker::kDownloadPage),
          [current] { return checkForUpdate({maker::kUpdateHost}, current); }};
}

// Everything a serving process consists of. Never destroyed: the threads of connections and scans
// use it until the process exits.
AppState& makeState() {
  AppState& state = *std::make_unique<AppState>().release();
  state.folders = systemFolders();
  state.machine = systemMachine();
  state.contents = systemContents();
  state.details = fileDetails;
  state.steps = makeScanSteps(*state.folders);
  state.targets = targets;
  state.update = updateSource();
  state.session = makeSessionActions(state);
  state.server.gate = makeGate(state);
  return state;
}

// Those threads may also use static objects, so exit without running destructors.
[[noreturn]] void serveAndEnd(const CommandLineOptions& options) {
  AppState& state = makeState();
  // Not on this thread: a share may take long to answer.
  startDetached([&state] { finishInterrupted(*state.machine, *state.folders); });
  ExitProcess(static_cast<UINT>(serve(state, options)));
}

int run() {
  // Before anything is loaded: libraries come from the system's folder only, not from where the
  // program was downloaded to.
  SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  const std::vector<std::wstring> arguments = splitCommandLine(GetCommandLineW());
  // First of all: what ssh passes is a prompt, not a command line of this program.
  if (startedAsAskpass()) return askpassMain(arguments.empty() ? L"" : arguments.front());
  // An empty drive is reported as an error, without a system dialog.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  const CommandLineOptions options = parseCommandLine(arguments);
  switch (modeOf(options)) {
  case Mode::help: return showHelp();
  case Mode::exportRun: return runExport(options);
  case Mode::stop: return stopInstances();
  case Mode::checkUpdate: return runUpdateCheck(options, updateSource());
  case Mode::showKey: return showAgentKey();
  case Mode::network:
  case Mode::interactive: serveAndEnd(options);
  case Mode::closeCopies: return closeRunningCopies(options);
  case Mode::restartCopies: return restartClosedCopies(options.restartFolder, runsAsSystem());
  case Mode::grantServiceLogon: return grantLogonRight(options.grantAccount);
  }
  return kExitFailed;
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) { return run(); }
