#include "app/installer_win.h"

#include "app/settings_win.h"
#include "app/std_output_win.h"
#include "base/paths.h"
#include "update/agent_record.h"
#include "update/agent_service_win.h"
#include "update/hand_over_store_win.h"
#include "update/installer_steps.h"
#include "update/running_copies_win.h"
#include "update/service_logon_win.h"
#include "win/full_path.h"
#include "win/process_facts.h"

namespace vorda {

namespace {

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;

int report(const StepOutcome& outcome) {
  for (const std::wstring& line : outcome.lines) writeStdLine(line, StdStream::output);
  return outcome.failed ? kExitFailed : kExitDone;
}

bool fileExists(const std::wstring& path) {
  return GetFileAttributesW(systemPath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

} // namespace

int runClose(const CommandLineOptions& options) {
  const RunningCopies copies(options.closeFolder);
  const CloseSteps steps = {copies.list(), [&copies](std::uint32_t id) { return copies.end(id); },
                            stopAgentService};
  HandOver list;
  StepOutcome outcome =
      closeCopies(steps, options.closeFolder, options.rememberForRestart ? &list.agents : nullptr);
  // A list from an earlier installation ends here in any case.
  deleteHandOver();
  list.log = outcome.lines;
  list.written = fileTimeNow();
  if (options.rememberForRestart && !writeHandOver(list) && !list.agents.empty()) {
    outcome.lines.emplace_back(L"the list for the restart could not be written");
    outcome.failed = true;
  }
  return report(outcome);
}

int runRestart(const std::wstring& folder, bool asSystem) {
  const RestartSteps steps = {
      asSystem, fileExists(joinPath(fullPath(folder), kProgramName)), kindOfCommandLine,
      startAgentService,
      [&folder](std::wstring_view arguments) { return startCopy(folder, arguments); }};
  const StepOutcome outcome = restartCopies(readHandOver(), fileTimeNow(), steps);
  deleteHandOver();
  noteUpdate();
  return report(outcome);
}

bool runsAsSystem() { return processAccount(GetCurrentProcess()) == kSystemAccount; }

int runGrantServiceLogon(const std::wstring& account) {
  const std::wstring reason = grantServiceLogon(account);
  if (reason.empty()) return kExitDone;
  showError(L"Could not grant the log-on-as-a-service right to " + account + L".\n" + reason);
  return kExitFailed;
}

} // namespace vorda
