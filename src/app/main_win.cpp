// The entry point: reads the command line, picks one mode, runs it and returns its exit
// code. Here the parts are put together; nothing else makes them.
#include "api/gate.h"
#include "app/askpass_win.h"
#include "app/check_update_win.h"
#include "app/command_line.h"
#include "app/export_win.h"
#include "app/installer_win.h"
#include "app/scan_steps_win.h"
#include "app/serve_win.h"
#include "app/session_actions_win.h"
#include "app/std_output_win.h"
#include "app/stop_instances_win.h"
#include "base/text.h"
#include "fileops/deletion_log_win.h"
#include "maker.h"
#include "update/check_for_update_win.h"
#include "win/command_line.h"
#include "win/program_version.h"

#include <windows.h>

namespace {

using namespace vorda;

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;

int showHelp() {
  const std::wstring text = helpText(programVersion());
  if (!writeStdLine(text, StdStream::output)) showInfo(text);
  return kExitDone;
}

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

// Never destroyed: nobody waits for the threads of connections and scans, which use it
// until the process is gone.
AppState& makeState() {
  AppState& state = *std::make_unique<AppState>().release();
  state.folders = systemFolders();
  state.machine = systemMachine();
  state.contents = systemContents();
  state.steps = makeScanSteps(*state.folders);
  state.targets = targets;
  state.update = updateSource();
  state.session = makeSessionActions(state.server);
  state.server.handler = makeGate(state);
  return state;
}

// For the same reason the process ends without the destructors of static objects.
[[noreturn]] void serveAndEnd(const CommandLineOptions& options) {
  ExitProcess(static_cast<UINT>(serve(makeState(), options)));
}

int run() {
  const std::vector<std::wstring> arguments = splitCommandLine(GetCommandLineW());
  // Before anything else: such a start must not do what its command line seems to say.
  if (startedAsAskpass()) return askpassMain(arguments.empty() ? L"" : arguments.front());
  // A drive without a medium is an error like any other, not a question to the user.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  const CommandLineOptions options = parseCommandLine(arguments);
  switch (modeOf(options)) {
  case Mode::help: return showHelp();
  case Mode::exportRun: return runExport(options);
  case Mode::stop: stopAllInstances(); return kExitDone;
  case Mode::checkUpdate: return runUpdateCheck(options, updateSource());
  case Mode::showKey: return showAgentKey();
  case Mode::network:
  case Mode::interactive: serveAndEnd(options);
  case Mode::closeCopies: return runClose(options);
  case Mode::restartCopies: return runRestart(options.restartFolder, runsAsSystem());
  case Mode::grantServiceLogon: return runGrantServiceLogon(options.grantAccount);
  }
  return kExitFailed;
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) { return run(); }
