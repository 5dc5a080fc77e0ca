#include "app/check_update_win.h"

#include "app/std_output_win.h"
#include "base/text.h"

namespace vorda {

namespace {

constexpr int kExitFailed = 1;
constexpr int kExitWrongArguments = 2;

} // namespace

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
