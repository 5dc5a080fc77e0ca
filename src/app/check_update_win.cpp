#include "app/exit_code.h"
#include "app/modes_win.h"
#include "app/std_output_win.h"
#include "app/update_report.h"
#include "base/text.h"

namespace vorda {

int runUpdateCheck(const CommandLineOptions& options, const UpdateSource& source) {
  const std::vector<std::wstring> messages = validateUpdateCheck(options);
  if (!messages.empty()) {
    printError(argumentErrorText(messages));
    return kExitWrongArguments;
  }
  const UpdateReport report = updateReport(source);
  if (report.exitCode == kExitFailed) {
    printError(toUtf16(report.text));
  } else {
    writeStdText(report.text + "\n", StdStream::output);
  }
  return report.exitCode;
}

} // namespace vorda
