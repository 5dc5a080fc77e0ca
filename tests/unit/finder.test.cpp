#include "search/finder.h"
#include "support/cases.h"
#include "support/runs.h"

#include <doctest/doctest.h>

using namespace vorda;
using test::App;
using test::numberIn;
using test::OpenGate;

namespace {

constexpr std::uint64_t kYear2001 = 126'227'808'000'000'000ULL; // FILETIME units

} // namespace

TEST_CASE("the finder, from form fields to document") {
  App app;
  const std::wstring windows = app.disk->addFolder(L"C:\\", L"Windows");
  app.disk->addFile(windows, L"Holiday.JPG", 5, kYear2001);
  app.disk->addFile(windows, L"holiday.txt", 2'000'000, kYear2001 + 10'000'000);
  const std::wstring data = app.disk->addFolder(L"C:\\", L"data");
  app.disk->addFile(data, L"my holiday.png", 7);
  app.disk->addFile(app.disk->addFolder(data, L"data2"), L"b.jpg", 9, kYear2001);
  CHECK(app.scanned("C%3A") == 1);
  app.disk->addFile(data, L"late holiday.jpg", 3); // after the scan
  // Inside the first one, the same again, missing, remote, unfinished.
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

TEST_CASE("a finder run: second start, forgotten scans, cancel") {
  App app;
  for (int i = 0; i < 25'000; ++i) {
    app.disk->addFile(L"C:\\", std::to_wstring(i) + L".txt", static_cast<unsigned>(i));
  }
  app.disk->addFile(L"D:\\", L"d.txt", 1);
  app.disk->addFile(L"E:\\", L"e.txt", 2);
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
    // Forgetting the scan with most hits brings back the hits of the others.
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
