#include "app/scan_run.h"
#include "report/result_document.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("the summary says why turbo was not used") {
  for (const auto& row : std::vector<std::pair<std::string, std::string>>{
           {"noadmin", "  turbo mode needs administrator rights"},
           {"notfixed", "  turbo mode unavailable: notfixed"},
           {"", ""}}) {
    ScanSteps steps;
    steps.turboAllowed = [&row](const std::wstring&) { return TurboVerdict{false, row.first}; };
    steps.walk = [](ScanProgress& progress, const ScanOptions&, ScanResult& found) {
      progress.edit([](ProgressTexts& texts) { texts.method = ScanMethod::walk; });
      found.unreadableFolders = 2;
      found.byteCount = 1024; // used if there is no tree
      found.seconds = 0.26;
      return true;
    };
    steps.driveFigures = [](const std::wstring&) { return DriveFigures{}; };
    steps.finish = [](Job& job) { buildResultDocument(job, kDocumentOptions, 0); };
    std::string output;
    const ScanRunOutputs outputs = {[](std::wstring_view) {},
                                    [&output](std::string_view text) {
                                      output += text;
                                      return true;
                                    },
                                    [](const std::wstring&, std::string_view) { return L""; }};
    CHECK(runScanCommand({L"D:", L"o", "json", CsvKind::files, L"", L""}, steps, outputs) == 0);
    CHECK(output == "Vorda: D:\\  0 files  1.0 KB  0.3 s  (walk)  2 folders could not be read" +
                        row.second + "\n  -> o\n");
  }
  CHECK(summarySize(1023) == "1023 B");
  CHECK(summarySize(~0ULL) == "16384.0 PB");
}
