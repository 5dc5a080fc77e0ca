#include "support/runs.h"

#include <chrono>
#include <cstdlib>

using namespace vorda;
using namespace vorda::test;

namespace {

// Clients of the three kinds of runs, until a point in time.
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

  // Later results must not contain the scan.
  void forget(const std::string& id) {
    app.told("GET", "/api/forget?id=" + id);
    for (const char* path : {"/api/findfiles", "/api/dupsacross"}) {
      if (app.told("GET", path).find("\"job\":" + id + "}") != std::string::npos) ++stale;
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
          app.told("GET", std::string("/api/") + part + (id.empty() ? "1" : id));
        }
        if (!app.told("GET", "/api/jobs").ends_with("]")) ++torn;
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
