#include "app/exit_code.h"
#include "app/filter_values.h"
#include "app/modes_win.h"
#include "app/safe_file_win.h"
#include "app/scan_run.h"
#include "app/scan_steps_win.h"
#include "app/std_output_win.h"
#include "base/text.h"
#include "base/time.h"
#include "scan/scan_log.h"

#include <windows.h>

namespace vorda {

namespace {

FileBounds boundsOf(const CommandLineOptions& options) {
  const std::uint64_t now = nowUnixMs();
  FileBounds bounds;
  bounds.most = parseSizeValue(options.largest).value_or(bounds.most);
  bounds.before = parseMomentValue(options.older, now).value_or(0);
  bounds.after = parseMomentValue(options.newer, now).value_or(0);
  return bounds;
}

// A share that does not answer may keep a scan from noticing that it is to stop.
constexpr DWORD kScanEndsMs = 10'000;

// Called once the user wants a run to stop. What is on its way into a file gets there; a reader that
// has stopped reading would be waited for for ever.
void stopRun(ScanRunStop& stop, bool toFile) {
  stop.request();
  if (stop.writing() && toFile) return;
  if (!stop.writing()) Sleep(kScanEndsMs);
  if (!stop.writing() || !toFile) ExitProcess(kExitFailed);
}

} // namespace

int runExport(const CommandLineOptions& options, const Companion& companion, DiagnosticLog& log) {
  const std::vector<std::wstring> messages = validateExportRun(options);
  if (!messages.empty()) {
    printError(argumentErrorText(messages));
    return kExitWrongArguments;
  }
  const std::unique_ptr<FolderSource> folders = systemFolders();
  const ScanRunOutputs outputs = {
      [](std::wstring_view text) { writeStdText(toUtf8(text), StdStream::error); },
      [](std::string_view text) { return writeStdText(text, StdStream::output); }, writeFileSafely,
      whyNotWritable};
  const ScanRunRequest request = {options.scanPath,
                                  options.outFile,
                                  toUtf8(effectiveFormat(options)),
                                  csvKindOf(toUtf8(options.what)).value_or(CsvKind::files),
                                  options.ext,
                                  options.find,
                                  parseSizeValue(options.smallest),
                                  boundsOf(options)};
  // Never destroyed: the thread that waits for the user may outlive this function.
  ScanRunStop& stop = *std::make_unique<ScanRunStop>().release();
  companion.whenStopped([&stop, toFile = options.outFile != L"-"] { stopRun(stop, toFile); });
  return runScanCommand(request, loggedSteps(makeScanSteps(*folders), log), outputs, stop);
}

} // namespace vorda
