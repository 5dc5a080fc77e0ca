#include "app/exit_code.h"
#include "app/filter_values.h"
#include "app/modes_win.h"
#include "app/safe_file_win.h"
#include "app/scan_run.h"
#include "app/scan_steps_win.h"
#include "app/std_output_win.h"
#include "base/text.h"
#include "base/time.h"

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

} // namespace

int runExport(const CommandLineOptions& options) {
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
  return runScanCommand(request, makeScanSteps(*folders), outputs);
}

} // namespace vorda
