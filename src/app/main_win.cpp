// The entry point: reads the command line, picks one mode, runs it and returns its exit
// code. Here the parts are put together; nothing else makes them.
#include "analysis/size_tree.h"
#include "app/command_line.h"
#include "app/std_output_win.h"
#include "base/text.h"
#include "base/time.h"
#include "cli/scan_run.h"
#include "report/result_document.h"
#include "scan/folder_reader.h"
#include "scan/job.h"
#include "scan/walk.h"
#include "win/program_version.h"
#include "win/safe_file.h"

#include <windows.h>

#include <shellapi.h>

namespace {

using namespace vorda;

constexpr int kExitDone = 0;
constexpr int kExitFailed = 1;
constexpr int kExitWrongArguments = 2;

std::vector<std::wstring> programArguments() {
  std::vector<std::wstring> arguments;
  int count = 0;
  wchar_t** vector = CommandLineToArgvW(GetCommandLineW(), &count);
  if (vector == nullptr) return arguments;
  for (int i = 1; i < count; ++i) arguments.emplace_back(vector[i]);
  LocalFree(vector);
  return arguments;
}

int showHelp() {
  const std::wstring text = helpText(programVersion());
  if (!writeStdLine(text, StdStream::output)) showInfo(text);
  return kExitDone;
}

ScanSteps makeScanSteps(FolderSource& folders) {
  ScanSteps steps;
  steps.turboAllowed = turboAllowed;
  steps.walk = [&folders](ScanProgress& progress, const ScanOptions& options, ScanResult& result) {
    return walk(folders, progress, options, result);
  };
  steps.driveFigures = driveFigures;
  steps.finish = [](Job& job) {
    SumTree(job.result.folders, job.progress);
    buildResultDocument(job, kDocumentOptions, nowUnixMs());
  };
  return steps;
}

int runExport(const CommandLineOptions& options) {
  const std::vector<std::wstring> messages = validateExportRun(options);
  if (!messages.empty()) {
    printError(argumentErrorText(messages));
    return kExitWrongArguments;
  }
  const std::unique_ptr<FolderSource> folders = systemFolders();
  const ScanRunOutputs outputs = {
      [](std::wstring_view text) { writeStdText(toUtf8(text), StdStream::error); },
      [](std::string_view text) { return writeStdText(text, StdStream::output); }, writeFileSafely};
  const ScanRunRequest request = {
      options.scanPath,     options.outFile, toUtf8(effectiveFormat(options)),
      toUtf8(options.what), options.ext,     options.find};
  return runScanCommand(request, makeScanSteps(*folders), outputs);
}

int run() {
  const CommandLineOptions options = parseCommandLine(programArguments());
  switch (modeOf(options)) {
  case Mode::help: return showHelp();
  case Mode::exportRun: return runExport(options);
  default: break;
  }
  showError(L"Vorda: this version scans from the command line only; see --help");
  return kExitFailed;
}

} // namespace

int WINAPI wWinMain(HINSTANCE, HINSTANCE, PWSTR, int) { return run(); }
