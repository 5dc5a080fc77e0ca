#include "app/modes_win.h"
#include "app/print_steps_win.h"
#include "update/agent_service_win.h"
#include "update/hand_over_store_win.h"
#include "update/running_copies_win.h"

namespace vorda {

int closeRunningCopies(const CommandLineOptions& options) {
  const RunningCopies copies(options.closeFolder);
  const CloseSteps steps = {copies.list(), [&copies](std::uint32_t id) { return copies.end(id); },
                            stopAgentService};
  HandOver list;
  StepOutcome outcome =
      closeCopies(steps, options.closeFolder, options.rememberForRestart ? &list.agents : nullptr);
  // A list from an earlier installation into this folder is obsolete in any case.
  list.folder = installationFolder(options.closeFolder);
  deleteHandOver(list.folder);
  list.log = outcome.lines;
  list.written = fileTimeNow();
  if (options.rememberForRestart && !writeHandOver(list) && !list.agents.empty()) {
    outcome.lines.emplace_back(L"the list for the restart could not be written");
    outcome.failed = true;
  }
  return printSteps(outcome);
}

} // namespace vorda
