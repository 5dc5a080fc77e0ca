#include "base/text.h"
#include "support/cases.h"
#include "update/installer_steps.h"

#include <doctest/doctest.h>

#include <algorithm>

using namespace vorda;

namespace {

constexpr std::uint64_t kNow = 133'000'000'000'000'000;
constexpr std::uint64_t kMinute = 600'000'000;

// The lines, "!" in front when the step failed.
std::string told(const StepOutcome& outcome) {
  std::string text = outcome.failed ? "!" : "";
  for (const std::wstring& line : outcome.lines) text += toUtf8(line) + "\n";
  return text;
}

RunningCopy copy(std::uint32_t id, CopyKind kind, const std::wstring& account = L"") {
  return {id, true, false, L"v.exe --x" + std::to_wstring(id), kind, account};
}

} // namespace

TEST_CASE("closing: who is ended, what is said and what is remembered") {
  std::vector<std::uint32_t> ended;
  std::optional<bool> serviceStops = true;
  CloseSteps steps;
  steps.end = [&ended](std::uint32_t id) {
    ended.push_back(id);
    return id != 5;
  };
  steps.stopService = [&](std::uint32_t id) {
    CHECK(std::find(ended.begin(), ended.end(), id) == ended.end()); // never ended before
    return serviceStops;
  };
  std::vector<std::wstring> records;
  const auto close = [&] {
    ended.clear();
    records.clear();
    return told(closeCopies(steps, L"C:\\f", &records));
  };
  CHECK(close() == "nothing was running from C:\\f\n");
  steps.copies = {{1, false, true, L"", CopyKind::page, L""}};
  CHECK(close() == "pid 1: cannot open\nnothing was running from C:\\f\n");
  steps.copies = {{2, false, false, L"", CopyKind::agent, L""},
                  {3, true, false, L"", CopyKind::page, L""}};
  CHECK(close() == "!pid 2: cannot open\npid 3 closed  \n");
  steps.copies = {copy(5, CopyKind::agent)};
  CHECK(close() == "!pid 5: cannot close\n");
  CHECK(records.empty());

  steps.copies = {copy(4, CopyKind::service, L"S-1-5-18"), copy(6, CopyKind::agent, L"S-1-5-18"),
                  copy(7, CopyKind::agent, L"S-1-5-181"), copy(8, CopyKind::agent)};
  const std::string lines = "pid 4 closed  v.exe --x4\npid 6 closed  agent  v.exe --x6\n"
                            "pid 7 closed  agent  v.exe --x7\npid 8 closed  agent  v.exe --x8\n";
  CHECK(close() == lines + "service VordaAgent stopped\n");
  CHECK(records == std::vector<std::wstring>{L"system|v.exe --x6", L"account|S-1-5-181|v.exe --x7",
                                             L"account||v.exe --x8", L"service|"});
  serviceStops = false;
  CHECK(close() == "!" + lines + "service VordaAgent could not be stopped\n");
  serviceStops = std::nullopt; // another folder's copy is the service
  CHECK(close() == lines);
  CHECK(records.size() == 3);
}

TEST_CASE("restarting: each record and how it may end") {
  const std::vector<std::string> services = {"gone", "running", "started", "refused"};
  for (std::vector<std::string> row : test::cases("restarts.txt")) {
    row.resize(4);
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
    CHECK(told(restartCopies(list, kNow, steps)) ==
          row[2] + "\nnot restarted, runs under its own account: v\n");
    CHECK(started == row[3]);
  }
}

TEST_CASE("how long a list counts") {
  const auto age = [](std::uint64_t written) { return isFresh({{}, {}, written}, kNow); };
  CHECK(age(kNow));
  CHECK(age(kNow - 60 * kMinute + 1));
  for (const std::uint64_t written : {kNow - 60 * kMinute, kNow + 1, std::uint64_t{0}}) {
    CHECK_FALSE(age(written));
  }
  // An agent more does not bring an old list back to life.
  HandOver list = withAgent({{L"old"}, {L"old line"}, kNow - 61 * kMinute}, L"a", kNow);
  list = withAgent(withAgent(list, L"b", kNow + kMinute), L"a", kNow + 2 * kMinute);
  CHECK(list.agents == std::vector<std::wstring>{L"a", L"b"});
  CHECK(list.log.size() == 3);
  CHECK(list.written == kNow + 2 * kMinute);
}

TEST_CASE("which copies are agents") {
  CHECK(kindOfCopy({L"--port", L"1", L"--agent"}) == CopyKind::agent);
  CHECK(kindOfCopy({L"--server"}) == CopyKind::agent);
  CHECK(kindOfCopy({L"--agent", L"--service"}) == CopyKind::service);
  CHECK(kindOfCopy({L"--Agent", L"x--agent", L"--agents", L"C:\\a --agent"}) == CopyKind::page);
}
