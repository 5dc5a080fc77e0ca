#include "app/command_line.h"
#include "app/filter_values.h"

#include <doctest/doctest.h>

#include <algorithm>

using namespace vorda;
using Arguments = std::vector<std::wstring>;

TEST_CASE("values, missing values and unknown arguments") {
  const auto options =
      parseCommandLine({L"D:\\data", L"--port", L" -12x", L"--token", L"--agent", L"more", L"--foo",
                        L"--out", L"--scan", L"C:\\", L"--find", L"-", L"--close-for-update", L"a",
                        L"--close-for-removal", L"b", L"--scan"});
  CHECK(options.scanPath == L"C:\\");
  CHECK(options.port == -12);
  CHECK(options.token == L"--agent");
  CHECK_FALSE(options.agent);
  CHECK(options.find == L"-");
  CHECK(options.exportRun);
  CHECK(options.closeFolder == L"b");
  CHECK_FALSE(options.rememberForRestart);
  CHECK(options.parseErrors == Arguments{L"--out needs a file name, or - for standard output"});
  CHECK(options.unknownArgs == Arguments{L"more", L"--foo", L"--scan"});
  CHECK(parseCommandLine({L"--port", L"99999999999999999999"}).port == 2147483647);
  CHECK(parseCommandLine({L"--port", L"-99999999999"}).port == -2147483647 - 1);
  CHECK(parseCommandLine({L"--port", L"x"}).port == 0);
}

TEST_CASE("the mode with the highest priority wins") {
  const std::vector<std::pair<Arguments, Mode>> ranks = {
      {{L"--help"}, Mode::help},
      {{L"--close-for-update", L"x"}, Mode::closeCopies},
      {{L"--restart-after-update", L"x"}, Mode::restartCopies},
      {{L"--check-update"}, Mode::checkUpdate},
      {{L"--format"}, Mode::exportRun},
      {{L"--grant-service-logon", L"me"}, Mode::grantServiceLogon},
      {{L"--stop"}, Mode::stop},
      {{L"--show-key"}, Mode::showKey},
      {{L"--server"}, Mode::network},
      {{L"--no-open", L"C:\\"}, Mode::interactive}};
  Arguments line;
  for (auto rank = ranks.rbegin(); rank != ranks.rend(); ++rank) {
    line.insert(line.begin(), rank->first.begin(), rank->first.end());
    CHECK(modeOf(parseCommandLine(line)) == rank->second);
  }
  CHECK(modeOf(parseCommandLine({})) == Mode::interactive);
  CHECK(modeOf(parseCommandLine({L"--out", L"-h"})) == Mode::exportRun);
}

TEST_CASE("the help without a known version") {
  CHECK(helpText(L"").starts_with(L"\nVorda -  Brixmoor\n"));
  // In boxes, no page is too high for a screen, and together they are the whole text.
  std::wstring all;
  for (const std::wstring& page : pagesOf(helpText(L"1.2.3"))) {
    CHECK(std::count(page.begin(), page.end(), L'\n') < 34);
    all += (all.empty() ? L"" : L"\n\n") + page;
  }
  CHECK(all == helpText(L"1.2.3"));
}

TEST_CASE("sizes and moments on the command line") {
  constexpr std::uint64_t kK = 1024;
  CHECK(parseSizeValue(L"0") == 0);
  CHECK(parseSizeValue(L"500b") == 500);
  for (const wchar_t* text : {L"10K", L"10kb"}) CHECK(parseSizeValue(text) == 10 * kK);
  CHECK(parseSizeValue(L"10M") == 10 * kK * kK);
  CHECK(parseSizeValue(L"4G") == 4 * kK * kK * kK);
  CHECK(parseSizeValue(L"2TB") == 2 * kK * kK * kK * kK);
  CHECK(parseSizeValue(L"18446744073709551615") == UINT64_MAX);
  for (const wchar_t* text : {L"", L"K", L"-1", L"+1", L" 1", L"1 ", L"1.5G", L"1KiB", L"1BB",
                              L"1P", L"18446744073709551616", L"16777216T", L"0x10"}) {
    CHECK_FALSE(parseSizeValue(text));
  }
  constexpr std::uint64_t kDay = 86'400'000;
  constexpr std::uint64_t kNow = 20'000 * kDay + 5;
  CHECK(parseMomentValue(L"1970-01-02", kNow) == kDay);
  CHECK(parseMomentValue(L"2024-02-29", kNow) == 19'782 * kDay);
  CHECK(parseMomentValue(L"0d", kNow) == kNow);
  CHECK(parseMomentValue(L"36h", kNow) == kNow - kDay * 3 / 2);
  CHECK(parseMomentValue(L"365D", kNow) == kNow - 365 * kDay);
  CHECK(parseMomentValue(L"2w", kNow) == kNow - 14 * kDay);
  CHECK(parseMomentValue(L"1y", kNow) == kNow - 365 * kDay);
  for (const wchar_t* text :
       {L"", L"d", L"1", L"1m", L"1dd", L"-1d", L"2023-02-29", L"2026-13-01", L"2026-00-10",
        L"2026-1-1", L"2026-01-1x", L"2026/01/01", L"1970-01-01", L"1969-12-31", L"0000-00-00",
        L"20000d", L"18446744073709551615y", L"2026-01-0\x0661"}) {
    CHECK_FALSE(parseMomentValue(text, kNow));
  }

  const auto wrong = [](std::vector<std::wstring> arguments) {
    arguments.insert(arguments.begin(), {L"--scan", L"C:\\", L"--out", L"o"});
    return validateExportRun(parseCommandLine(arguments));
  };
  using Messages = std::vector<std::wstring>;
  CHECK(wrong({L"--older", L"soon", L"--min", L"many"}) ==
        Messages{L"--older needs an age such as 365d, or a date such as 2026-01-31, not soon",
                 L"--min needs a size such as 500K, 10M or 4G, not many"});
  CHECK(wrong({L"--max", L"--newer"}) ==
        Messages{L"--max needs a size such as 500K, 10M or 4G",
                 L"--newer needs an age such as 365d, or a date such as 2026-01-31"});
  CHECK(
      wrong({L"--format", L"csv", L"--what", L"types", L"--max", L"1"}) ==
      Messages{
          L"--older, --newer, --min and --max narrow the file list, so they go with --what files"});
  CHECK(validateExportRun(parseCommandLine({L"C:\\", L"--min", L"1"})) ==
        Messages{L"--older, --newer, --min and --max only work together with --out"});
}
