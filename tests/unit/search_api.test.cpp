#include "search/verification.h"
#include "support/cases.h"
#include "support/runs.h"

#include <doctest/doctest.h>

#include <chrono>
#include <cstdlib>
#include <map>

using namespace vorda;
using test::App;
using test::numberIn;
using test::OpenGate;

namespace {

constexpr const char* kStarted = R"(200 {"started":true,"running":true})";

std::map<std::string, std::string> documents() {
  std::map<std::string, std::string> byName;
  for (const auto& row : test::cases("search_documents.txt", 2)) byName[row[0]] = row[1];
  return byName;
}

std::string run(App& app, const std::string& path, const std::string& fields) {
  REQUIRE(app.told("POST", path, fields) == kStarted);
  return app.resultOf(path);
}

} // namespace

TEST_CASE("duplicates across scans, and scans forgotten meanwhile") {
  App app;
  const std::string big(1'048'576, 'b');
  const std::wstring windows = app.folders->addFolder(L"C:\\", L"Windows");
  const std::wstring bin = app.folders->addFolder(L"C:\\", L"$Recycle.Bin");
  const std::wstring binned = app.folders->addFolder(bin, L"S-1");
  app.addContent(windows, L"one.dll", big, 1);
  app.addContent(windows, L"two.dll", big, 1);
  app.addContent(binned, L"$R1.dll", big);
  app.addContent(L"D:\\", L"x.dll", big);
  for (const wchar_t* name : {L"a.txt", L"b.txt", L"c.dll"}) app.addContent(L"D:\\", name, "text");
  for (const wchar_t* name : {L"e1", L"e2"}) app.addContent(L"D:\\", name, "");
  app.addContent(L"D:\\", L"cloudy", "TEXT");
  app.contents->edit(L"D:\\cloudy", [](auto& file) { file.failure = "cloud"; });
  app.scanned("C:");
  app.scanned("D:");
  CHECK(app.told("GET", "/api/dupsacross") == R"(200 {"running":false})");
  CHECK(run(app, "/api/dupsacross", "ids=1,2&exts=dll") == documents().at("duplicates"));
  const std::string all = run(app, "/api/dupsacross", "ids=2,1&min=0");
  CHECK(all.find(R"("shown":2,"count":2,"waste":1048584,"capped":false,"skipped":{"cloud":1,)") !=
        std::string::npos);
  CHECK(all.find(R"({"s":4,"c":3,"waste":8,"files":[{"p":"D:\\a.txt",)") != std::string::npos);

  // Forgetting a scan removes its files from the result; the others still form a group.
  app.addContent(L"E:\\", L"same.txt", "text");
  app.scanned("E:");
  OpenGate gate(app);
  CHECK(app.told("POST", "/api/dupsacross", "ids=1,2,3&min=1") == kStarted);
  gate.waitUntilReached();
  CHECK(app.told("GET", "/api/dupsacross") ==
        R"(200 {"running":true,"total":0,"read":0,"files":0,"files_done":0,"percent":0,)"
        R"("phase":"listing","seen":0})");
  CHECK(app.told("POST", "/api/dupsacross", "ids=2") == R"(200 {"started":false,"running":true})");
  app.told("GET", "/api/forget?id=1");
  app.told("GET", "/api/forget?id=3");
  gate.shut = false;
  const std::string left = app.resultOf("/api/dupsacross");
  CHECK(left.starts_with(R"(200 {"groups":[{"s":4,"c":3,"waste":8,"files":[{"p":"D:\\a.txt")"));
  CHECK(numberIn(left, "count") == 1);
  app.told("GET", "/api/forget?id=2");
  CHECK(app.told("GET", "/api/dupsacross") == R"(200 {"running":false})");
}

TEST_CASE("a result is limited to the groups with the most to gain") {
  App app;
  for (int i = 0; i < 4'200; ++i)
    app.addContent(L"C:\\", std::to_wstring(i), std::to_string(i / 2 + 1'000'000));
  app.scanned("C:");
  const std::string groups = run(app, "/api/dupsacross", "ids=1&min=1");
  CHECK(groups.find(R"(,"shown":2000,"count":2100,"waste":14700,"capped":true,)") !=
        std::string::npos);
  for (int i = 0; i < 25'000; ++i) app.addContent(L"E:\\", std::to_wstring(i), "12");
  app.scanned("E:");
  const std::string files = run(app, "/api/dupsacross", "ids=1,2&min=1");
  CHECK(files.starts_with(R"(200 {"groups":[{"s":2,"c":25000,"waste":49998,)"));
  CHECK(numberIn(files, "shown") == 1);
  CHECK(files.find("19999\"") != std::string::npos);
}

TEST_CASE("verification reads files again before deletion") {
  App app;
  app.addContent(L"C:\\", L"a", "same");
  app.addContent(L"C:\\", L"b", "same", 5);
  app.addContent(L"C:\\", L"link", "same", 5);
  app.addContent(L"C:\\", L"c", "othe");
  app.addContent(L"C:\\", L"locked", "same");
  app.contents->edit(L"C:\\locked", [](auto& file) { file.failure = "unreadable"; });
  app.addContent(L"C:\\Windows", L"d", "same");
  app.addContent(L"C:\\", L"torn", "same");
  app.contents->onRead = [&app](const std::wstring& path) {
    if (path == L"C:\\torn") app.contents->rewrite(path, "tore");
  };
  CHECK(app.told("POST", "/api/verifydups", "x=1") == R"(400 {"error":"niets opgegeven"})");
  std::string checked =
      run(app, "/api/verifydups",
          "p=C:%5Ca&p=C:%5Cb&p=C:%5Clink&p=C:%5Cc&p=C:%5Clocked&p=C:%5CWindows%5Cd&p=C:%5Ctorn"
          "&p=C:%5Cgone&p=C:%5Ca&p=");
  const std::size_t digest = checked.find("\"h\":\"") + 5;
  const std::string same = checked.substr(digest, 64);
  CHECK(same.find_first_not_of("0123456789abcdef") == std::string::npos);
  for (std::size_t at = checked.find(same); at != std::string::npos; at = checked.find(same)) {
    checked.replace(at, 64, "S");
  }
  const std::size_t other = checked.find("\"h\":\"", checked.find("C:\\\\c")) + 5;
  checked.replace(other, 64, "O");
  CHECK(checked == documents().at("verification"));

  // After cancelling, a file that was not read counts as equal to nothing.
  app.contents->onRead = [&app](const std::wstring& path) {
    if (path == L"C:\\c") app.told("POST", "/api/verifydups", "cancel=1");
  };
  const std::string cut = run(app, "/api/verifydups", "p=C:%5Ca&p=C:%5Cc&p=C:%5Cb&p=C:%5Ca");
  CHECK(cut.find(R"("error":"cancelled"},{"p":"C:\\a","size":4)") != std::string::npos);
  CHECK(cut.ends_with(R"("duplicates":[],"lock":["","","",""],"read":8,"files_checked":3,)"
                      R"("running":false,"cancelled":true})"));
}

TEST_CASE("many clients start, watch, cancel and forget scans and searches at once") {
  App app;
  for (int i = 0; i < 300; ++i) {
    const std::wstring folder =
        i % 3 == 0 ? app.folders->addFolder(L"C:\\", std::to_wstring(i)) : L"C:\\";
    app.addContent(folder, L"f" + std::to_wstring(i), "text " + std::to_string(i % 100));
  }
  // Short by default; VORDA_RACE_SECONDS sets another duration.
  const char* seconds = std::getenv("VORDA_RACE_SECONDS"); // NOLINT(concurrency-mt-unsafe)
  const auto end = std::chrono::steady_clock::now() +
                   std::chrono::seconds(seconds == nullptr ? 3 : std::stoi(seconds));
  std::atomic<int> torn{0};
  std::atomic<int> stale{0};
  std::atomic<int> results{0};
  std::atomic<int> starts{0};
  const auto whole = [&torn](const std::string& told) {
    if (!told.starts_with("200 {") || !told.ends_with("}")) ++torn;
  };
  const auto client = [&](unsigned seed) {
    const std::string paths[] = {"/api/findfiles", "/api/dupsacross", "/api/verifydups"};
    std::string id;
    while (std::chrono::steady_clock::now() < end) {
      seed = seed * 1'664'525 + 1'013'904'223;
      const std::string& path = paths[(seed >> 16) % 3];
      switch ((seed >> 24) % 6) {
      case 0:
        if (id.empty()) id = std::to_string(app.scanned("C:"));
        break;
      case 1: {
        const std::string fields = "ids=" + (id.empty() ? "1" : id) + "&names=f&min=1&p=C:%5Cf1";
        const std::string told = app.told("POST", path, fields);
        whole(told);
        if (told == kStarted) ++starts;
        break;
      }
      case 2: whole(app.told("POST", path, "cancel=1")); break;
      case 3:
        // A forgotten scan must not appear in any later result.
        if (!id.empty()) {
          app.told("GET", "/api/forget?id=" + id);
          for (int i = 0; i < 2; ++i) {
            if (app.told("GET", paths[i]).find("\"job\":" + id + "}") != std::string::npos) ++stale;
          }
          id.clear();
        }
        break;
      default: {
        const std::string told = app.told("GET", path);
        whole(told);
        if (told.find("\"running\":false,") != std::string::npos) ++results;
        for (const char* part : {"result?id=", "dirs?p=C%3A&id=", "cancel?id="}) {
          app.told("GET", std::string("/api/") + part + (id.empty() ? "1" : id));
        }
        CHECK(app.told("GET", "/api/jobs").ends_with("]"));
      }
      }
    }
  };
  std::vector<std::thread> clients;
  for (unsigned i = 0; i < 16; ++i) clients.emplace_back(client, i * 7'919);
  for (std::thread& one : clients) one.join();
  MESSAGE(starts.load(), " runs, ", results.load(), " results");
  CHECK(torn == 0);
  CHECK(stale == 0);
  CHECK(starts > 10);
  CHECK(results > 10);
}
