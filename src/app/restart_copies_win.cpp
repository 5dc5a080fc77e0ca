#include "app/modes_win.h"
#include "app/print_steps_win.h"
#include "app/settings_win.h"
#include "base/paths.h"
#include "update/agent_service_win.h"
#include "update/hand_over_store_win.h"
#include "update/running_copies_win.h"
#include "win/full_path.h"
#include "win/process_facts.h"

namespace vorda {

namespace {

bool fileExists(const std::wstring& path) {
  return GetFileAttributesW(systemPath(path).c_str()) != INVALID_FILE_ATTRIBUTES;
}

} // namespace

int restartClosedCopies(const std::wstring& folder, bool asSystem) {
  const RestartSteps steps = {
      asSystem, fileExists(joinPath(fullPath(folder), kProgramName)), kindOfCommandLine,
      startAgentService,
      [&folder](std::wstring_view arguments) { return startCopy(folder, arguments); }};
  const std::wstring place = installationFolder(folder);
  const StepOutcome outcome = restartCopies(readHandOver(place), fileTimeNow(), steps);
  deleteHandOver(place);
  noteUpdate();
  return printSteps(outcome);
}

bool runsAsSystem() { return processAccount(GetCurrentProcess()) == kSystemAccount; }

} // namespace vorda
