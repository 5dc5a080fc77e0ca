#include "search/finder.h"
#include "support/cases.h"
#include "support/runs.h"

using namespace vorda;
using namespace vorda::test;

constexpr std::uint64_t kYear2001 = 126'227'808'000'000'000ULL; // FILETIME units

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
  const auto unfinished = std::make_shared<Job>();
  unfinished->target = L"C:";
  app.state.jobs.add(unfinished);
  for (const int id : {1, 2}) app.state.jobs.find(id)->label = L"label";
  for (const auto& row : cases("finder.txt", 2)) {
    CAPTURE(row[0]);
    const std::string started = app.post("/api/findfiles", row[0]);
    const bool runs = started == R"(200 {"started":true,"running":true})";
    const std::string answer = runs ? app.resultOf("/api/findfiles") : started;
    CHECK_MESSAGE(answer.find(row[1]) != std::string::npos, answer);
  }
  app.get("/api/forget?id=6");
  CHECK(app.get("/api/findfiles") == R"(200 {"running":false})");
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
    app.post("/api/findfiles", "ids=1,2,3&names=*");
    gate.waitUntilReached();
    CHECK(app.post("/api/findfiles", "ids=2&exts=txt") ==
          R"(200 {"started":false,"running":true})");
    CHECK(app.get("/api/findfiles") ==
          R"(200 {"running":true,"scans":3,"scans_done":0,"found":0,"percent":0,"seen":0})");
    app.get("/api/forget?id=2");
    gate.shut = false;
    const std::string capped = app.resultOf("/api/findfiles");
    CHECK(capped.starts_with(R"(200 {"files":[{"p":"C:\\24999.txt","s":24999,)"));
    CHECK(holds(capped, R"(,"shown":20000,"count":25001,"bytes":312487502,"capped":true,)"));
    CHECK(capped.find("d.txt") == std::string::npos);
  }
  {
    // Forgetting the scan with most hits brings back the hits of the others.
    OpenGate gate(app);
    app.post("/api/findfiles", "ids=1,3&names=*&more=1");
    gate.waitUntilReached();
    app.get("/api/forget?id=1");
    gate.shut = false;
    const std::string left = app.resultOf("/api/findfiles");
    CHECK(left.starts_with(R"(200 {"files":[{"p":"E:\\e.txt","s":2,"m":0,"job":3}],"shown":1,)"));
  }
  {
    CHECK(app.scanned("C:") == 4);
    OpenGate gate(app);
    app.post("/api/findfiles", "ids=4,3&names=*");
    gate.waitUntilReached();
    CHECK(app.post("/api/findfiles", "cancel=1") == R"(200 {"ok":true})");
    gate.shut = false;
    const std::string cancelled = app.resultOf("/api/findfiles");
    CHECK(holds(cancelled, R"("cancelled":true})"));
    CHECK(cancelled.find("e.txt") == std::string::npos);
    CHECK(numberIn(cancelled, "count") < 25'000);
  }
}

TEST_CASE("the finder with bounds on size and time") {
  App app;
  const auto add = [&app](const wchar_t* name, std::uint64_t size, std::uint64_t seconds) {
    app.disk->addFile(L"C:\\d", name, size, seconds == 0 ? 0 : kYear2001 + seconds * 10'000'000);
  };
  add(L"a", 10, 0); // its time is not known
  add(L"b", 20, 1);
  add(L"c", 30, 2);
  add(L"d", 40, 3);
  app.scanned("C:%5Cd");
  constexpr std::uint64_t kFirst = 978'307'200'000;
  const std::string second = std::to_string(kFirst + 2'000);
  const std::string third = std::to_string(kFirst + 3'000);
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"names=*", "dcba"},
      {"before=" + second, "b"},
      {"after=" + second, "dc"},
      {"after=" + second + "&before=" + third, "c"},
      {"after=" + third + "&before=" + second, ""},
      {"before=99999999999999999999", "dcb"},
      {"names=*&max=30", "cba"},
      {"names=*&max=0", ""},
      {"names=*&max=&before=&after=", "dcba"},
      {"names=*&max=30&min=20", "cb"},
      {"after=1&max=39x", "cb"}};
  for (const auto& [asked, names] : rows) {
    const std::string answer = runToEnd(app, "/api/findfiles", "ids=1&" + asked);
    std::string found;
    for (std::size_t at = 0; (at = answer.find("C:\\\\d\\\\", at)) != std::string::npos; at += 7) {
      found += answer[at + 7];
    }
    CHECK(found == names);
  }
  const std::string bounded =
      runToEnd(app, "/api/findfiles", "ids=1&names=*&min=5&max=30&after=7&before=" + second);
  CHECK(holds(bounded, R"("min":5,"max":30,"after":7,"before":)" + second));
  // In one folder: of the scans around it that part, of those in it everything, the others not at all.
  app.disk->addFile(app.disk->addFolder(L"C:\\d", L"in"), L"e", 1);
  app.disk->addFile(L"D:\\", L"f", 1);
  app.scanned("C:%5Cd%5Cin");
  app.scanned("D:");
  for (const auto& [asked, hits] : std::vector<std::pair<std::string, std::string>>{
           {"in=c:/D/IN/", R"("files":[{"p":"c:\\D\\IN\\e","s":1,"m":0,"job":1}],)"},
           {"in=C:&ids=1,2,3&sort=name", R"("count":5,"bytes":101,)"},
           {"in=C:%5Cd%5Ci&ids=1,2,3", R"("failed":[{"id":1,)"},
           {"in=C:%5Cd%5C..%5Cd", R"("opts":{"ids":[1],"scans":0,)"},
           {"in=c:%5CD%2F", R"("count":5,"bytes":101,)"},
           {"in=D:%5Cx&after=7",
            R"("scans":0,"exts":"","names":"*","min":0,"in":"D:\\x","after":7,"sort")"},
           {"in=E:&ids=1,2,3", R"("scans":0,"exts":"","names":"*","min":0,"in":"E:\\","sort")"}}) {
    const std::string told = runToEnd(app, "/api/findfiles", "ids=1&names=*&" + asked);
    CHECK_MESSAGE(told.find(hits) != std::string::npos, told);
  }
  // A bound on the time is a filter of its own, one on the size is none.
  CHECK(app.post("/api/findfiles", "ids=1&max=30") == R"(400 {"error":"needFilter"})");
  CHECK(app.post("/api/findfiles", "ids=1&before=0&after=x") == R"(400 {"error":"needFilter"})");
}

TEST_CASE("the finder tells bytes on disk to those who ask") {
  App app;
  app.disk->cluster = 4096;
  app.disk->add(L"C:\\r\\plain", 100);
  DiskNode& shared = app.disk->add(L"C:\\r\\shared", 5000);
  app.disk->hardLink(L"C:\\r\\second", shared);
  DiskNode& away = app.disk->add(L"C:\\r\\away", 9000);
  away.disk = 0;
  away.attributes = kAttributeRecallOnDataAccess;
  app.disk->add(L"D:\\plain", 100);
  app.scanned("C:%5Cr");
  app.scanned("D:");
  app.state.jobs.find(2)->result.links.complete = true;
  app.disk->add(L"C:\\r\\late", 1); // the scan does not know it
  CHECK(runToEnd(app, "/api/findfiles", "ids=1,2&names=*").find("\"a\"") == std::string::npos);
  const std::string told = runToEnd(app, "/api/findfiles", "ids=1,2&names=*&more=1");
  CHECK(told.starts_with(
      R"(200 {"files":[{"p":"C:\\r\\away","s":9000,"m":0,"a":0,"x":0,"cl":9000,"xs":1,"job":1},)"
      R"({"p":"C:\\r\\second","s":5000,"m":0,"a":8192,"x":0,"xs":1,"job":1},)"
      R"({"p":"C:\\r\\shared","s":5000,"m":0,"a":8192,"x":0,"xs":1,"job":1},)"
      R"({"p":"C:\\r\\plain","s":100,"m":0,"a":4096,"x":4096,"xs":1,"job":1},)"
      R"({"p":"D:\\plain","s":100,"m":0,"a":4096,"x":4096,"job":2},)"
      R"({"p":"C:\\r\\late","s":1,"m":0,"a":4096,"x":4096,"xs":1,"job":1}],)"));
  // What other names there were is gone by now, or may come back.
  LinkedFile& linked = app.state.jobs.find(1)->result.links.files.front();
  linked.count = 1;
  const auto freed = [&app] {
    const std::string both = runToEnd(app, "/api/findfiles", "ids=1&names=s*&more=1");
    return both.substr(both.find(R"("x":)"), 8);
  };
  CHECK(freed() == R"("x":8192)");
  linked.stays = true;
  CHECK(freed() == R"("x":0,"x)");
  // A scan whose root was searched already counts as done.
  app.scanned("C:%5Cr");
  std::string listing;
  app.disk->onOpen = [&](const std::wstring& folder) {
    if (folder[0] == L'D') listing = app.get("/api/findfiles");
  };
  runToEnd(app, "/api/findfiles", "ids=1,3,2&names=*");
  app.disk->onOpen = nullptr;
  CHECK(listing ==
        R"(200 {"running":true,"scans":3,"scans_done":2,"found":5,"percent":66,"seen":5})");
  CHECK(holds(finderProgress({}), R"("percent":0)"));
  // The root is that of the result, or of the target where there is none.
  const auto other = app.state.jobs.find(2);
  const auto count = [&app](const std::string& ids = "2") {
    return numberIn(runToEnd(app, "/api/findfiles", "names=*&ids=" + ids), "count");
  };
  other->target = L"X:";
  CHECK(count() == 1);
  other->result.rootPath.clear();
  CHECK(count() == 0);
  other->target = L"D:";
  app.scanned("D:");
  CHECK(count("2,4") == 1); // both are the same
  app.state.steps.walk = [](ScanProgress&, const ScanOptions&, ScanResult&) { return false; };
  CHECK(holds(runToEnd(app, "/api/findfiles", "ids=2,1&names=*"),
              R"("failed":[{"id":2,"label":"D:","error":"scanFailed"},{"id":1,)"));
}
