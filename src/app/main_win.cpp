// The entry point. It assembles the parts of the process and runs the mode that the command line
// asks for.
#include "api/gate.h"
#include "api/request_log.h"
#include "app/askpass_win.h"
#include "app/crash_report_win.h"
#include "app/diagnostic_log_win.h"
#include "app/exit_code.h"
#include "app/modes_win.h"
#include "app/scan_steps_win.h"
#include "app/session_actions_win.h"
#include "app/std_output_win.h"
#include "base/detached_thread.h"
#include "base/program_image.h"
#include "base/text.h"
#include "fileops/deletion_log_win.h"
#include "fileops/journal.h"
#include "maker.h"
#include "scan/scan_log.h"
#include "update/check_for_update_win.h"
#include "win/command_line.h"
#include "win/elevation.h"
#include "win/full_path.h"
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

// What goes wrong is written where the deletion log is.
std::wstring reportFolder() {
  const std::wstring log = deletionLogPath();
  return log.substr(0, log.rfind(L'\\') + 1);
}

bool isSigned() {
  constexpr std::size_t kHeadBytes = 1'024; // the loaded image begins with a whole page
  const auto* head = reinterpret_cast<const std::uint8_t*>(GetModuleHandleW(nullptr));
  return carriesSignature({head, kHeadBytes});
}

AboutFacts aboutFacts(const std::wstring& logFile) {
  AboutFacts facts;
  facts.version = programVersion();
  facts.signedFile = isSigned();
  facts.log = logFile;
  if (const auto report = newestCrashReport(reportFolder())) {
    facts.crashReport = report->path;
    facts.crashTime = report->time;
  }
  return facts;
}

// Everything a serving process consists of. Never destroyed: the threads of connections and scans
// use it until the process exits.
AppState& makeState(const CommandLineOptions& options, DiagnosticLog& log) {
  AppState& state = *std::make_unique<AppState>().release();
  state.folders = systemFolders();
  state.machine = systemMachine();
  state.contents = systemContents();
  state.steps = loggedSteps(makeScanSteps(*state.folders), log);
  state.targets = targets;
  state.about = [file = options.logFile.empty() ? std::wstring() : fullPath(options.logFile)] {
    return aboutFacts(file);
  };
  state.update = updateSource();
  state.session = makeSessionActions(state);
  state.server.gate = loggedGate(makeGate(state), log);
  return state;
}

// Those threads may also use static objects, so exit without running destructors.
[[noreturn]] void serveAndEnd(const CommandLineOptions& options, const Companion& companion,
                              DiagnosticLog& log) {
  AppState& state = makeState(options, log);
  // Not on this thread: a share may take long to answer.
  startDetached([&state] { finishInterrupted(*state.machine, *state.folders); });
  const int code = serve(state, options, companion);
  log.write(LogLevel::info, "ends with the code " + std::to_string(code));
  ExitProcess(static_cast<UINT>(code));
}

int run() {
  // Before anything is loaded: libraries come from the system's folder only, not from where the
  // program was downloaded to.
  SetDefaultDllDirectories(LOAD_LIBRARY_SEARCH_SYSTEM32);
  const Companion companion = takeCompanion();
  const std::vector<std::wstring> arguments = splitCommandLine(GetCommandLineW());
  // First of all: what ssh passes is a prompt, not a command line of this program.
  if (startedAsAskpass()) return askpassMain(arguments.empty() ? L"" : arguments.front());
  // An empty drive is reported as an error, without a system dialog.
  SetErrorMode(SEM_FAILCRITICALERRORS | SEM_NOOPENFILEERRORBOX);
  const CommandLineOptions options = parseCommandLine(arguments);
  if (options.help) return showHelp();
  reportCrashes(reportFolder());
  std::wstring message;
  // Never destroyed: the threads of connections and scans use it until the process exits.
  DiagnosticLog* log = openDiagnosticLog(options, message).release();
  if (log == nullptr) {
    showError(message);
    return kExitFailed;
  }
  log->write(LogLevel::info, "Vorda " + toUtf8(programVersion()) +
                                 (processElevated() ? ", elevated" : "") + ", process " +
                                 std::to_string(GetCurrentProcessId()));
  switch (modeOf(options)) {
  case Mode::help: return showHelp();
  case Mode::exportRun: return runExport(options, companion, *log);
  case Mode::stop: return stopInstances();
  case Mode::checkUpdate: return runUpdateCheck(options, updateSource());
  case Mode::showKey: return showAgentKey();
  case Mode::network:
  case Mode::interactive: serveAndEnd(options, companion, *log);
  case Mode::closeCopies: return closeRunningCopies(options);
  case Mode::restartCopies: return restartClosedCopies(options.restartFolder, runsAsSystem());
  case Mode::grantServiceLogon: return grantLogonRight(options.grantAccount);
  }
  return kExitFailed;
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) { return run(); }
