#include "search/duplicate_search.h"
#include "search/finder.h"
#include "support/runs.h"

#include <chrono>
#include <cstdlib>
#include <new>
#include <stdexcept>

using namespace vorda;
using namespace vorda::test;

namespace {

struct Race {
  App app;
  std::chrono::steady_clock::time_point end;
  std::atomic<int> torn{0};  // incomplete answers
  std::atomic<int> stale{0}; // results with a forgotten scan
  std::atomic<int> results{0};
  std::atomic<int> starts{0};

  std::string ask(const std::string& method, const std::string& path,
                  const std::string& fields = {}) {
    std::string told = app.told(method, path, fields);
    if (!told.starts_with("200 {") || !told.ends_with("}")) ++torn;
    return told;
  }

  void forget(const std::string& id) {
    app.get("/api/forget?id=" + id);
    for (const char* path : {"/api/findfiles", "/api/dupsacross"}) {
      if (app.get(path).find("\"job\":" + id + "}") != std::string::npos) ++stale;
    }
  }

  void client(unsigned seed) {
    const std::string paths[] = {"/api/findfiles", "/api/dupsacross", "/api/verifydups"};
    std::string id;
    while (std::chrono::steady_clock::now() < end) {
      seed = seed * 1'664'525 + 1'013'904'223;
      const std::string& path = paths[(seed >> 16) % 3];
      const unsigned action = (seed >> 24) % 6;
      if (action == 0 && id.empty()) {
        id = std::to_string(app.scanned("C:"));
      } else if (action == 1) {
        const std::string fields = "ids=" + (id.empty() ? "1" : id) + "&names=f&min=1&p=C:%5Cf1";
        if (ask("POST", path, fields) == kStarted) ++starts;
      } else if (action == 2) {
        ask("POST", path, "cancel=1");
      } else if (action == 3 && !id.empty()) {
        forget(id);
        id.clear();
      } else if (action > 3) {
        if (ask("GET", path).find("\"running\":false,") != std::string::npos) ++results;
        for (const char* part : {"result?id=", "dirs?p=C%3A&id=", "cancel?id="}) {
          app.get(std::string("/api/") + part + (id.empty() ? "1" : id));
        }
        if (!app.get("/api/jobs").ends_with("]")) ++torn;
      }
    }
  }
};

} // namespace

TEST_CASE("many clients start, query, cancel and forget scans and searches at once") {
  Race race;
  for (int i = 0; i < 300; ++i) {
    const std::wstring folder =
        i % 3 == 0 ? race.app.disk->addFolder(L"C:\\", std::to_wstring(i)) : L"C:\\";
    race.app.addContent(folder, L"f" + std::to_wstring(i), "text " + std::to_string(i % 100));
  }
  // VORDA_RACE_SECONDS makes the race longer.
  const char* wish = std::getenv("VORDA_RACE_SECONDS"); // NOLINT(concurrency-mt-unsafe)
  race.end = std::chrono::steady_clock::now() +
             std::chrono::seconds(wish == nullptr ? 3 : std::stoi(wish));
  std::vector<std::thread> clients;
  for (unsigned i = 0; i < 16; ++i) clients.emplace_back(&Race::client, &race, i * 7'919);
  for (std::thread& one : clients) one.join();
  MESSAGE(race.starts.load(), " runs, ", race.results.load(), " results");
  CHECK(race.torn == 0);
  CHECK(race.stale == 0);
  CHECK(race.starts > 10);
  CHECK(race.results > 10);
}

TEST_CASE("how far a run is, as its clients are told") {
  const std::vector<std::pair<RunCounters, std::uint64_t>> rows = {
      {{.scans = 4, .scansDone = 1, .percentTo = 10}, 2},
      {{.scans = 4, .files = 10, .filesDone = 5, .total = 7, .readBefore = 7, .percentTo = 10}, 5},
      {{.scans = 4, .scansDone = 1, .files = 10, .filesDone = 5, .total = 7, .percentTo = 10}, 0},
      {{.scans = 4, .scansDone = 1, .percentFrom = 20, .percentTo = 40}, 20},
      {{.files = 4, .filesDone = 1, .percentFrom = 10, .percentTo = 20}, 12},
      {{.total = 200, .read = 500, .readBefore = 100, .percentFrom = 40, .percentTo = 100}, 100}};
  for (const auto& [counters, percent] : rows) CHECK(counters.percent() == percent);
  RunCounters counters = {.scans = 3, .scansDone = 2, .seen = 9, .found = 4, .files = 8};
  counters.filesDone = 8;
  counters.total = counters.read = 60;
  counters.percentFrom = 10;
  counters.percentTo = 20;
  counters.beginStage(RunPhase::comparing, 40, 6, 100);
  CHECK(readingProgress(counters) ==
        R"({"running":true,"total":160,"read":60,"files":6,"files_done":0,"percent":20,)"
        R"("phase":"comparing","seen":9})");
  counters.read = 85;
  CHECK(counters.percent() == 25);
  CHECK(finderProgress(counters) ==
        R"({"running":true,"scans":3,"scans_done":2,"found":4,"percent":66,"seen":9})");
}

TEST_CASE("a run counts what its scans see, and cancels the one that is being listed") {
  Run run;
  const auto scan = [&run](std::uint64_t files) {
    auto progress = std::make_shared<ScanProgress>();
    progress->files = files;
    run.beginScan(progress);
    return progress;
  };
  const auto first = scan(3);
  run.found = 2;
  CHECK(run.counters().seen == 3);
  CHECK(run.counters().found == 2);
  run.endScan(5);
  CHECK(run.counters().seen == 5);
  CHECK(run.counters().scansDone == 1);
  const auto second = scan(4);
  CHECK(run.counters().seen == 9);
  CHECK(!second->cancelRequested);
  run.cancel();
  CHECK(second->cancelRequested);
  CHECK(!first->cancelRequested);
  CHECK(scan(0)->cancelRequested);
}

TEST_CASE("a run that fails makes room for the next, whose document leaves forgotten scans out") {
  BackgroundRun runs;
  const auto result = [&runs] {
    while (runs.running()) std::this_thread::yield();
    const RunStatus status = runs.status();
    CHECK(!status.counters);
    return status.document ? *status.document : "none";
  };
  CHECK(result() == "none");
  CHECK(runs.start([](Run&) -> RunDocument { throw std::runtime_error("broken"); }));
  CHECK(result() == R"({"running":false,"error":"searchFailed"})");
  CHECK(runs.start([](Run&) -> RunDocument { throw std::bad_alloc(); }));
  CHECK(result() == R"({"running":false,"error":"noMemory"})");
  int written = 0;
  CHECK(runs.start([&](Run& run) -> RunDocument {
    while (!run.cancelled()) std::this_thread::yield();
    return [&](const ScanIds& forgotten) {
      if (++written == 1) runs.forget(5);
      std::string ids;
      for (const int id : forgotten) ids += std::to_string(id);
      return ids;
    };
  }));
  const RunStatus status = runs.status();
  CHECK(status.counters);
  CHECK(!status.document);
  CHECK(!runs.start([](Run&) { return RunDocument(); }));
  runs.forget(4);
  runs.cancel();
  CHECK(result() == "45");
  CHECK(written == 2);
  runs.forget(6);
  CHECK(result() == "none");
}
