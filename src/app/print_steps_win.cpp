#include "app/print_steps_win.h"

#include "app/exit_code.h"
#include "app/std_output_win.h"

namespace vorda {

int printSteps(const StepOutcome& outcome) {
  for (const std::wstring& line : outcome.lines) writeStdLine(line, StdStream::output);
  return outcome.failed ? kExitFailed : kExitDone;
}

} // namespace vorda
