#include "app/scan_run.h"
#include "base/text.h"
#include "report/result_document.h"

#include <doctest/doctest.h>

using namespace vorda;

namespace {

ScanRunRequest asked(const wchar_t* target, const wchar_t* file = L"o", const char* format = "json",
                     const wchar_t* extensions = L"", const wchar_t* names = L"") {
  return {target, file, format, CsvKind::files, extensions, names};
}

struct Run {
  std::string messages;
  std::string output;
  std::string written;
  int code = -1;
  ScanRunStop stop;

  Run(const ScanRunRequest& request, const ScanResult& found, std::string_view failure = {},
      bool stopped = false, const TurboVerdict& verdict = {false, kNotLocal}) {
    ScanSteps steps;
    const auto method = [&](ScanProgress& progress, ScanResult& result) {
      if (stopped) stop.request();
      result = found;
      if (progress.cancelRequested) result.partial = Partial::cancelled;
      progress.edit([&](ProgressTexts& texts) { texts.failure = failure; });
      return failure.empty();
    };
    steps.turboAllowed = [&verdict](const std::wstring&) { return verdict; };
    steps.walk = [&](ScanProgress& progress, const ScanOptions&, ScanResult& result) {
      return method(progress, result);
    };
    steps.ssh = [&](ScanProgress& progress, const ScanOptions&, Secret, ScanResult& result,
                    SshFacts&) { return method(progress, result); };
    steps.driveFigures = [](const std::wstring&) { return DriveFigures{}; };
    steps.finish = [](Job& job) { buildResultDocument(job, kDocumentOptions, 0); };
    const ScanRunOutputs outputs = {
        [this](std::wstring_view text) { messages += toUtf8(text); },
        [this](std::string_view text) { return !(output += text).empty(); },
        [this](const std::wstring&, std::string_view text) {
          written = text;
          return L"";
        },
        [](const std::wstring&) { return L""; }};
    code = runScanCommand(request, steps, outputs, stop);
  }

  // The summary from behind the duration.
  std::string rest() const { return output.substr(output.find(" s  (") + 5); }
};

} // namespace

TEST_CASE("the summary says why turbo was not used") {
  ScanResult found;
  found.unreadableFolders = 2;
  found.byteCount = 1024; // used if there is no tree
  found.seconds = 0.26;
  const std::pair<const char*, const char*> rows[] = {
      {"noadmin", "  turbo mode needs administrator rights"},
      {"notfixed", "  turbo mode unavailable: notfixed"},
      {"", ""}};
  for (const auto& [word, said] : rows) {
    const Run run(asked(L"D:"), found, {}, false, {false, word});
    CHECK(run.code == 0);
    CHECK(run.output == "Vorda: D:\\  0 files  1.0 KB  0.3 s  ()  2 folders could not be read" +
                            std::string(said) + "\n  -> o\n");
  }
  CHECK(summarySize(1023) == "1023 B");
  CHECK(summarySize(~0ULL) == "16384.0 PB");
}

TEST_CASE("the summary says what the result lacks") {
  ScanResult found;
  CHECK(Run(asked(L"C:\\x"), found).rest() == ")\n  -> o\n");
  found.skippedFolders = 5;
  CHECK(Run(asked(L"C:\\x"), found).rest() == ")  5 entries skipped\n  -> o\n");
  found.skippedFolders = 1;
  found.partial = Partial::cancelled;
  CHECK(Run(asked(L"C:\\x", L"o", "csv"), found).rest() ==
        ")  1 entry skipped  partial: cancelled\n  -> o\n");
  // A filter's hits are counted, and the JSON document does not list all of them.
  found = {};
  found.folders.emplace_back().name = L"C:\\x";
  found.files.resize(121, {0, L"f", 1, 0});
  CHECK(Run(asked(L"C:\\x", L"o", "json", L"", L"f"), found).rest() ==
        ")  121 files match, JSON lists the largest 120\n  -> o\n");
  CHECK(Run(asked(L"C:\\x", L"o", "csv", L".f", L""), found).rest() ==
        ")  121 files match\n  -> o\n");
  found.files.resize(1);
  CHECK(Run(asked(L"C:\\x", L"o", "json", L"", L"f"), found).rest() ==
        ")  1 file matches\n  -> o\n");
}

TEST_CASE("a broken scan is written and fails") {
  ScanResult found;
  found.partial = Partial::broken;
  const Run broken(asked(L"me@h:/x"), found);
  CHECK(broken.code == 1);
  CHECK(broken.written.find(R"("partial":"broken"})") != std::string::npos);
  CHECK(broken.rest() == ")  partial: broken\n  -> o\n");
  CHECK(broken.messages == "Vorda: scanning me@h:/x\nVorda: the connection broke; the result is "
                           "only a part\n");
  const Run toOutput(asked(L"me@h:/x", L"-"), found);
  CHECK(toOutput.code == 1);
  CHECK(toOutput.output.ends_with("}"));
}

TEST_CASE("a run that the user stops writes nothing") {
  const auto stopped = [](const wchar_t* file, const char* format, std::string_view failure = {}) {
    return Run(asked(L"C:\\x", file, format), {}, failure, true);
  };
  for (const Run& run : {stopped(L"o", "json"), stopped(L"o", "csv"), stopped(L"-", "json")}) {
    CHECK(run.code == 1);
    CHECK((run.output + run.written).empty());
    CHECK(run.messages == "Vorda: scanning C:\\x\nVorda: stopped; nothing was written\n");
    CHECK_FALSE(run.stop.writing());
  }
  CHECK(stopped(L"o", "json", "sshEmpty").messages.ends_with("does the path exist?\n"));

  // Stopped before the scan began, and once it is being written.
  ScanRunStop stop;
  ScanProgress progress;
  stop.request();
  stop.attach(&progress);
  CHECK(progress.cancelRequested);
  ScanRunStop late;
  late.attach(&progress);
  progress.cancelRequested = false;
  CHECK(late.beginWriting());
  late.request();
  CHECK_FALSE(progress.cancelRequested);
  CHECK(late.beginWriting());
}
