#include "app/command_line.h"

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
  // From highest to lowest priority.
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
