#include "base/text.h"
#include "support/cases.h"
#include "update/installer_steps.h"

#include <algorithm>

using namespace vorda;

namespace {

constexpr std::uint64_t kNow = 133'000'000'000'000'000;

// The lines of the outcome, after "!" if the step failed.
std::string text(const StepOutcome& outcome) {
  std::string lines = outcome.failed ? "!" : "";
  for (const std::wstring& line : outcome.lines) lines += toUtf8(line) + "\n";
  return lines;
}

} // namespace

TEST_CASE("closing: which copies are ended, reported and recorded") {
  std::vector<std::uint32_t> ended;
  CloseSteps steps;
  steps.copies = {{1, false, true, L"", CopyKind::page, L""}};
  steps.end = [&ended](std::uint32_t id) {
    ended.push_back(id);
    return id != 3;
  };
  steps.stopService = [&ended](std::uint32_t id) -> std::optional<bool> {
    CHECK((ended.empty() ||
           ended.back() != id)); // the service is stopped before its process is ended
    return id == 4 ? std::optional(false) : std::nullopt;
  };
  std::vector<std::wstring> records;
  CHECK(text(closeCopies(steps, L"C:\\f", &records)) ==
        "pid 1: cannot open\nnothing was running from C:\\f\n");
  steps.copies = {{2, false, false, L"", CopyKind::agent, L""},
                  {3, true, false, L"c", CopyKind::agent, L"S-1-5-18"},
                  {4, true, false, L"d", CopyKind::service, L"S-1-5-18"},
                  {5, true, false, L"e --service", CopyKind::service, L"S-1-5-18"},
                  {6, true, false, L"f", CopyKind::agent, L"S-1-5-18"},
                  {7, true, false, L"g", CopyKind::agent, L"S-1-5-181"},
                  {8, true, false, L"h", CopyKind::agent, L""},
                  {9, true, false, L"", CopyKind::page, L""}};
  CHECK(text(closeCopies(steps, L"", &records)) ==
        "!pid 2: cannot open\npid 3: cannot close\npid 4 closed  d\npid 5 closed  e --service\n"
        "pid 6 closed  agent  f\npid 7 closed  agent  g\npid 8 closed  agent  h\npid 9 closed  \n"
        "service VordaAgent could not be stopped\n");
  CHECK(records ==
        std::vector<std::wstring>{L"system|f", L"account|S-1-5-181|g", L"account||h", L"service|"});
}

TEST_CASE("restarting: every kind of record and outcome") {
  const std::vector<std::string> services = {"gone", "running", "started", "refused"};
  for (const auto& row : test::cases("restarts.txt", 4)) {
    const std::string& how = row[0];
    std::string started;
    const auto startService = [&] {
      return static_cast<ServiceStart>(std::find(services.begin(), services.end(), how) -
                                       services.begin());
    };
    const auto kindOf = [](const std::wstring& line) {
      return line.find(L"--agent") == std::wstring::npos ? CopyKind::page : CopyKind::agent;
    };
    const auto start = [&](std::wstring_view arguments) {
      if (how != "system") return std::stoul(how);
      started = toUtf8(arguments);
      return 0UL;
    };
    const RestartSteps steps = {how != "user", how != "no file", kindOf, startService, start};
    const HandOver list = {{toUtf16(row[1]), L"account||v"}, {}, kNow};
    CHECK(text(restartCopies(list, kNow, steps)) ==
          row[2] + "\nnot restarted, runs under its own account: v\n");
    CHECK(started == row[3]);
  }
}
