#include "search/best_hits.h"
#include "search/finder.h"
#include "support/cases.h"
#include "support/runs.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <random>
#include <tuple>

using namespace vorda;
using test::App;
using test::numberIn;
using test::OpenGate;

namespace {

constexpr std::uint64_t kYear2001 = 126'227'808'000'000'000ULL; // FILETIME units

} // namespace

TEST_CASE("of many hits the best by each order are kept, whatever thread met them first") {
  std::mt19937 random(3);
  std::vector<Hit> all;
  for (std::uint32_t i = 0; i < 30'000; ++i) {
    const std::wstring folder = L"C:\\" + std::to_wstring(random() % 50);
    // Few names, sizes and times, so that ties are common; every fifth time is unknown.
    const std::wstring name =
        std::wstring(random() % 2 == 0 ? L"f" : L"F") + std::to_wstring(random() % 900);
    const std::wstring path = joinPath(folder, name).append(L".").append(std::to_wstring(i));
    all.push_back(
        {path, folder.size() + 1, random() % 3000, random() % 5 == 0 ? 0 : 1 + random() % 2000, 1});
  }
  for (const HitOrder order :
       {HitOrder::newest, HitOrder::oldest, HitOrder::name, HitOrder::size}) {
    std::vector<std::tuple<std::uint64_t, std::wstring, std::wstring>> expected;
    std::uint64_t bytes = 0;
    for (const Hit& hit : all) {
      std::uint64_t key = 0;
      if (order == HitOrder::newest) key = ~hit.modified;
      if (order == HitOrder::oldest) key = hit.modified - 1; // unknown: the largest number
      if (order == HitOrder::size) key = ~hit.size;
      const bool byName = order == HitOrder::name;
      std::wstring upper(hit.name());
      std::replace(upper.begin(), upper.end(), L'f', L'F');
      expected.emplace_back(key, byName ? upper : L"", hit.path);
      bytes += hit.size;
    }
    std::sort(expected.begin(), expected.end());
    std::atomic<std::uint64_t> found{0};
    BestHits best(1, order, 700, found);
    std::vector<std::thread> threads;
    for (std::size_t part = 0; part < 3; ++part) {
      threads.emplace_back([&all, &best, part] {
        const auto taker = best.taker();
        for (std::size_t i = part; i < all.size(); i += 3) {
          const std::wstring_view folder(all[i].path.data(), all[i].nameStart - 1);
          taker->take({folder, all[i].name(), all[i].size, all[i].modified});
        }
      });
    }
    for (std::thread& thread : threads) thread.join();
    best.finish();
    CHECK(found == 30'000);
    CHECK(best.count() == 30'000);
    CHECK(best.bytes() == bytes);
    REQUIRE(best.best().size() == 700);
    std::size_t wrong = 0;
    for (std::size_t i = 0; i < 700; ++i) wrong += best.best()[i].path != std::get<2>(expected[i]);
    CHECK(wrong == 0);
  }
}

TEST_CASE("a search from its fields to its document") {
  App app;
  const std::wstring windows = app.folders->addFolder(L"C:\\", L"Windows");
  app.folders->addFile(windows, L"Holiday.JPG", 5, kYear2001);
  app.folders->addFile(windows, L"holiday.txt", 2'000'000, kYear2001 + 10'000'000);
  const std::wstring data = app.folders->addFolder(L"C:\\", L"data");
  app.folders->addFile(data, L"my holiday.png", 7);
  app.folders->addFile(app.folders->addFolder(data, L"data2"), L"b.jpg", 9, kYear2001);
  CHECK(app.scanned("C%3A") == 1);
  app.folders->addFile(data, L"late holiday.jpg", 3); // after the scan
  // One inside the first, the same again, one that is gone, a remote one, one still going.
  CHECK(app.scanned("C:%5Cdata%5C") == 2);
  CHECK(app.scanned("C:") == 3);
  CHECK(app.scanned("D:") == 4);
  const auto remote = std::make_shared<Job>();
  remote->kind = kSshKind;
  remote->label = L"host";
  remote->done = true;
  app.state.jobs.add(remote);
  app.state.jobs.add(std::make_shared<Job>());
  CHECK(app.told("GET", "/api/findfiles") == R"(200 {"running":false})");
  for (const auto& row : test::cases("finder.txt", 2)) {
    CAPTURE(row[0]);
    const std::string started = app.told("POST", "/api/findfiles", row[0]);
    const bool runs = started == R"(200 {"started":true,"running":true})";
    const std::string answer = runs ? app.resultOf("/api/findfiles") : started;
    CHECK_MESSAGE(answer.find(row[1]) != std::string::npos, answer);
  }
  app.told("GET", "/api/forget?id=6");
  CHECK(app.told("GET", "/api/findfiles") == R"(200 {"running":false})");
}

TEST_CASE("a run is left alone by a second start, can be cancelled, and outlives its scans") {
  App app;
  for (int i = 0; i < 25'000; ++i) {
    app.folders->addFile(L"C:\\", std::to_wstring(i) + L".txt", static_cast<unsigned>(i));
  }
  app.folders->addFile(L"D:\\", L"d.txt", 1);
  app.folders->addFile(L"E:\\", L"e.txt", 2);
  for (const char* drive : {"C:", "D:", "E:"}) app.scanned(drive);
  {
    OpenGate gate(app);
    app.told("POST", "/api/findfiles", "ids=1,2,3&names=*");
    gate.waitUntilReached();
    CHECK(app.told("POST", "/api/findfiles", "ids=2&exts=txt") ==
          R"(200 {"started":false,"running":true})");
    CHECK(app.told("GET", "/api/findfiles") ==
          R"(200 {"running":true,"scans":3,"scans_done":0,"found":0,"percent":0,"seen":0})");
    app.told("GET", "/api/forget?id=2");
    gate.shut = false;
    const std::string capped = app.resultOf("/api/findfiles");
    CHECK(capped.starts_with(R"(200 {"files":[{"p":"C:\\24999.txt","s":24999,)"));
    CHECK(capped.find(R"(,"shown":20000,"count":25001,"bytes":312487502,"capped":true,)") !=
          std::string::npos);
    CHECK(capped.find("d.txt") == std::string::npos);
  }
  {
    // Forgetting the scan with most hits uncovers the ones that they had pushed out.
    OpenGate gate(app);
    app.told("POST", "/api/findfiles", "ids=1,3&names=*");
    gate.waitUntilReached();
    app.told("GET", "/api/forget?id=1");
    gate.shut = false;
    const std::string left = app.resultOf("/api/findfiles");
    CHECK(left.starts_with(R"(200 {"files":[{"p":"E:\\e.txt","s":2,"m":0,"job":3}],"shown":1,)"));
  }
  {
    CHECK(app.scanned("C:") == 4);
    OpenGate gate(app);
    app.told("POST", "/api/findfiles", "ids=4,3&names=*");
    gate.waitUntilReached();
    CHECK(app.told("POST", "/api/findfiles", "cancel=1") == R"(200 {"ok":true})");
    gate.shut = false;
    const std::string cancelled = app.resultOf("/api/findfiles");
    CHECK(cancelled.find(R"("cancelled":true})") != std::string::npos);
    CHECK(cancelled.find("e.txt") == std::string::npos);
    CHECK(numberIn(cancelled, "count") < 25'000);
    CHECK(app.told("POST", "/api/findfiles", "cancel=1") == R"(200 {"ok":true})");
  }
}
