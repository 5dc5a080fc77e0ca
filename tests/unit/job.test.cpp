#include "scan/job.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("a job chooses its scan method and is always done at the end") {
  struct Row {
    std::string kind;
    TurboVerdict verdict;
    std::string_view
        turboFails; // failure word; "": succeeds, "-": not available, "?": fails without a word
    std::string_view walkFails;
    ScanMethod method;
    std::string_view noTurbo, error;
  };
  const std::vector<Row> rows = {
      {"drive", {true, {}}, "", "", ScanMethod::turbo, "", ""},
      {"drive", {true, {}}, kMftCorrupt, "", ScanMethod::walk, kMftCorrupt, ""},
      {"drive", {true, {}}, "-", "", ScanMethod::walk, kMftOpenFailed, ""},
      {"drive", {true, {}}, kMftCorrupt, kNoSuchDir, ScanMethod::walk, kMftCorrupt, kNoSuchDir},
      {"folder", {false, kNotLocal}, "-", "", ScanMethod::walk, kNotLocal, ""},
      {"folder", {false, kNotLocal}, "-", "?", ScanMethod::walk, kNotLocal, kScanFailed},
      {"ssh", {true, {}}, "", "", ScanMethod::none, "", kScanFailed}};
  for (const Row& row : rows) {
    Job job;
    job.target = L"D:\\";
    job.kind = row.kind;
    ScanSteps steps;
    const auto method = [](ScanMethod name, std::string_view fails) {
      return [name, fails](ScanProgress& progress, const ScanOptions&, ScanResult& result) {
        result.fileCount += 1;
        progress.edit([&](ProgressTexts& texts) {
          texts.method = name;
          if (fails != "?") texts.failure = fails;
        });
        return fails.empty();
      };
    };
    int finished = 0;
    steps.turboAllowed = [&row](const std::wstring&) { return row.verdict; };
    if (row.turboFails != "-") steps.turbo = method(ScanMethod::turbo, row.turboFails);
    steps.walk = method(ScanMethod::walk, row.walkFails);
    steps.driveFigures = [](const std::wstring&) { return DriveFigures{100, 40, L"vol"}; };
    steps.finish = [&finished](Job& one) {
      ++finished;
      CHECK_FALSE(one.done);
    };
    runJob(job, steps);
    const ProgressTexts texts = job.progress.texts();
    CHECK(texts.method == row.method);
    CHECK(texts.noTurbo == row.noTurbo);
    CHECK(texts.error == row.error);
    CHECK(job.done);
    CHECK(job.resultReady);
    CHECK(job.progress.phase == kPhaseFinished);
    CHECK(finished == (row.error.empty() ? 1 : 0));
    if (row.error.empty()) {
      CHECK(job.result.fileCount == 1);
      CHECK(job.drive.freeBytes == 40);
    }
  }
}

TEST_CASE("an exception in a scan fails the job, not the process") {
  Job job;
  ScanSteps steps;
  steps.turboAllowed = [](const std::wstring&) { return TurboVerdict{}; };
  steps.walk = [](ScanProgress&, const ScanOptions&, ScanResult& result) -> bool {
    result.fileCount = 1;
    throw 1;
  };
  runJob(job, steps);
  CHECK(job.done);
  CHECK(job.progress.texts().error == kScanFailed);
  CHECK(job.result.fileCount == 0);
}
