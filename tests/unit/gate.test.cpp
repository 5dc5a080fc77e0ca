#include "api/routes.h"
#include "base/paths.h"
#include "base/natural_order.h"
#include "support/app.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <map>
#include <set>

using namespace vorda;
using test::App;

namespace {

constexpr const char* kForeign = R"(403 {"error":"foreignOrigin"})";
constexpr const char* kNoKey = R"(401 {"error":"onjuiste of ontbrekende sleutel"})";
constexpr const char* kUnknown = R"(404 {"error":"onbekend eindpunt"})";

// What each route answers when everything about the request is right but its parameters,
// asked by POST with an empty body. Every route has to have its row here.
const std::map<std::string, std::string> kBareAnswers = {
    {"/api/hello", "200 {\"auth\":"},
    {"/api/targets", "200 {\"drives\":[{"},
    {"/api/browse", "200 {\"path\":\"\",\"parent\":\"\",\"dirs\":[{"},
    {"/api/jobs", "200 ["},
    {"/api/files", R"(400 {"error":"nopath"})"},
    {"/api/dirs", R"(400 {"error":"nopath"})"},
    {"/api/scan", R"(400 {"error":"geen pad opgegeven"})"},
    {"/api/ext", R"(400 {"error":"nopath"})"},
    {"/api/export", R"(400 {"error":"nopath"})"},
    {"/api/result", R"(404 {"error":"opdracht onbekend"})"},
    {"/api/cancel", R"(200 {"ok":true})"},
    {"/api/forget", R"(200 {"ok":true})"},
    {"/api/update", R"(502 {"ok":false,)"},
    {"/api/findfiles", R"(400 {"error":"needFilter"})"},
    {"/api/emptybin", R"(200 {"ok":true,"bytes":0,"items":0})"},
    {"/api/cleanup", R"(404 {"error":"noJob"})"},
    {"/api/delete", R"(400 {"error":"niets opgegeven"})"},
    {"/api/dupsacross", R"(200 {"started":true,"running":true})"},
    {"/api/verifydups", R"(400 {"error":"niets opgegeven"})"},
    {"/api/elevate", R"(200 {"ok":true,"already":true})"},
    {"/api/quit", "200 {\"ok\":true}"},
    {"/api/reveal", R"(200 {"ok":true})"}};

} // namespace

TEST_CASE("every route against every way to be foreign, keyless or misspelt") {
  struct Hostile {
    TextMap headers;
    bool foreignToPage; // refused by the interactive tool
    bool foreignToAll;  // refused with a key as well
  };
  std::vector<Hostile> cases;
  for (const char* site : {"cross-site", "same-site", "", "SAME-ORIGINX", " none", "null"}) {
    cases.push_back({{{"sec-fetch-site", site}, {"host", "127.0.0.1:7666"}}, true, true});
  }
  cases.push_back({{{"sec-fetch-site", "cross-site"}, {"origin", "http://localhost"}}, true, true});
  for (const char* site : {"same-origin", "none", "Same-Origin", "NONE"}) {
    cases.push_back({{{"sec-fetch-site", site}}, false, false});
  }
  for (const char* host :
       {"evil.example", "127.0.0.2", "::1", "[::1", "localhost.evil.example", "", "0.0.0.0",
        "127.0.0.1.", "127.0.0.1@evil.example", "http://http://localhost", "localhost//",
        "[::2]:80", "null", "file://", "https://evil.example", "ftp://localhost"}) {
    cases.push_back({{{"host", host}}, true, false});
    cases.push_back({{{"host", "localhost"}, {"origin", host}}, true, false});
  }
  for (const char* host : {"127.0.0.1", "127.0.0.1:7666", "LOCALHOST:1", "[::1]:7666", "[::1]",
                           "http://localhost:7666/", "https://127.0.0.1/", "localhost/"}) {
    cases.push_back({{{"host", host}}, false, false});
    cases.push_back({{{"host", "localhost:7666"}, {"origin", host}}, false, false});
  }
  CHECK(cases.size() >= 40);

  std::set<std::string> known;
  for (const Route& route : routes()) {
    const std::string path(route.path);
    CAPTURE(path);
    known.insert(path);
    REQUIRE(kBareAnswers.contains(path));
    const std::string& bare = kBareAnswers.at(path);
    for (const Hostile& one : cases) {
      App page;
      const std::string told = page.told("POST", path, "", one.headers);
      CHECK((one.foreignToPage ? told == kForeign : told.starts_with(bare)));
      App agent;
      agent.state.remote = true;
      TextMap headers = one.headers;
      headers["x-vorda-token"] = "KEY23";
      const std::string withKey = agent.told("POST", path, "", headers);
      if (one.foreignToAll) CHECK(withKey == kForeign);
      if (!one.foreignToAll && path != "/api/quit") CHECK(withKey.starts_with(bare));
      if (one.foreignToPage) CHECK(page.quits == 0);
    }
    // Without the right key nothing but the handshake answers.
    for (const char* key : {"", "key23", "KEY2", "KEY234", " KEY23", "KEY23 ", "KEY24"}) {
      App agent;
      agent.state.remote = true;
      const std::string query = path + "?token=" + key;
      const bool open = path == "/api/hello";
      CHECK((agent.told("POST", query) == kNoKey) == !open);
      CHECK((agent.told("POST", path + "?token=KEY23", "", {{"x-vorda-token", key}}) == kNoKey) ==
            (!open && *key != '\0'));
      agent.state.key.clear();
      CHECK((agent.told("POST", query) == kNoKey) == !open);
    }
    // Another spelling is another path.
    App page;
    for (const std::string& other : {path + "/", path + "%20", "/" + path, "/API" + path.substr(4),
                                     path.substr(1), path + ";x", path + "#"}) {
      CHECK(page.told("POST", other) == kUnknown);
    }
    const auto rows = std::count_if(routes().begin(), routes().end(),
                                    [&path](const Route& one) { return one.path == path; });
    for (const char* method : {"GET", "post"}) {
      const bool unknown = page.told(method, path) == kUnknown;
      CHECK(unknown == (!route.method.empty() && rows == 1));
    }
  }
  CHECK(known.size() == kBareAnswers.size());
}

TEST_CASE("the page, the handshake and the session") {
  App app;
  for (const char* path : {"/", "/index.html", "/?scan=C%3A"}) {
    const HttpResponse page = app.ask("PUT", path, "", {{"origin", "http://evil.example"}});
    CHECK(page.status == 200);
    CHECK(page.contentType == "text/html; charset=utf-8");
    CHECK(page.payload() == "<p>page</p>");
  }
  CHECK(app.told("GET", "/favicon.ico") == kUnknown);
  CHECK(app.told("GET", "") == kUnknown);
  CHECK(app.told("GET", "/api/hello") == R"(200 {"auth":false,"server":false,"canQuit":true})");
  CHECK(app.told("GET", "/api/quit") == R"(200 {"ok":true})");
  CHECK(app.quits == 1);
  app.elevated = false;
  CHECK(app.told("GET", "/api/elevate") == R"(200 {"ok":true})");
  CHECK(app.elevations == 1);
  CHECK(app.told("GET", "/api/reveal?p=C%3A%5C%C3%A9") == R"(200 {"ok":true})");
  CHECK(app.revealed == std::vector<std::wstring>{L"C:\\\u00E9"});
  app.state.remote = true;
  const TextMap key = {{"x-vorda-token", "KEY23"}};
  CHECK(app.told("GET", "/api/quit", "", key) == R"(400 {"error":"quitRefused"})");
  CHECK(app.quits == 1);
  CHECK(app.told("GET", "/api/hello") == R"(200 {"auth":true,"server":false,"canQuit":false})");
  app.state.serverMode = true;
  CHECK(app.told("GET", "/api/hello") == R"(200 {"auth":true,"server":true,"canQuit":false})");
}

TEST_CASE("a handler that fails answers 500, and the next request is served") {
  App app;
  app.state.targets = []() -> TargetList { throw std::bad_alloc(); };
  CHECK(app.told("GET", "/api/targets") == R"(500 {"error":"internalError"})");
  CHECK(app.told("GET", "/api/jobs") == "200 []");
}

TEST_CASE("a scan from its start to its end") {
  App app;
  const std::wstring root = app.disk->addFolder(L"M:", L"r\u00E9");
  for (int i = 0; i < 20; ++i) app.disk->addFolder(root, L"d" + std::to_wstring(i));
  for (int i = 0; i < 250; ++i) {
    app.disk->addFile(root + L"\\d" + std::to_wstring(i % 20), std::to_wstring(i) + L".ISO",
                      60'000'000 + static_cast<unsigned>(i));
  }
  std::atomic<bool> gate{false};
  std::atomic<bool> reading{false};
  app.disk->onOpen = [&gate, &reading](const std::wstring&) {
    reading = true;
    while (!gate) std::this_thread::yield();
  };
  CHECK(app.told("POST", "/api/scan", "kind=map&path=") == R"(400 {"error":"geen pad opgegeven"})");
  CHECK(app.told("POST", "/api/scan", "path=M%3A%5Cr%C3%A9") == R"(200 {"id":1,"ok":true})");
  CHECK(app.told("POST", "/api/scan", "path=M%3A%5Cnone&kind=drive&label=L+1") ==
        R"(200 {"id":2,"ok":true})");
  app.waitUntilDone(2);
  CHECK(app.told("GET", "/api/result?id=1") == R"(400 {"error":"nog niet klaar"})");
  CHECK(app.told("GET", "/api/result?id=2") == R"(400 {"error":"noSuchDir"})");
  for (const char* id : {"", "x", "3", "1x", "-1", " 1", "99999999999999999999"}) {
    CHECK(app.told("GET", std::string("/api/result?id=") + id) ==
          R"(404 {"error":"opdracht onbekend"})");
  }
  CHECK(app.told("GET", "/api/dirs?id=1&p=M%3A") == R"(404 {"error":"noJob"})");
  CHECK(app.told("GET", "/api/ext?id=1&e=.iso") == R"(400 {"error":"noJob"})");
  CHECK(app.told("GET", "/api/export?id=1") == R"(400 {"error":"nopath"})");
  while (!reading) std::this_thread::yield();
  const std::string jobs = app.told("GET", "/api/jobs");
  CHECK(jobs.starts_with(R"(200 [{"id":1,"path":"M:\\ré","kind":"map","label":"M:\\ré",)"
                         R"("state":"scanning","files":0,"bytes":0,"dirs":0,"phase":1,)"
                         R"("seconds":0,"status":"reading","current":"","error":"",)"
                         R"("method":"walk","noTurbo":"notlocal"},{"id":2,)"));
  CHECK(jobs.find(R"("kind":"drive","label":"L 1","state":"error")") != std::string::npos);
  gate = true;
  app.waitUntilDone(1);
  CHECK(app.told("GET", "/api/jobs")
            .find(R"("state":"done","files":250,"bytes":15000031125,"dirs":21,"phase":3)") !=
        std::string::npos);
  const auto first = app.ask("GET", "/api/result?id=1");
  CHECK(first.status == 200);
  CHECK(first.body == app.ask("GET", "/api/result?id=1").body); // one text for all readers
  CHECK(first.payload().starts_with(R"({"meta":{"path":"M:\\ré",)"));

  CHECK(app.told("GET", "/api/dirs?id=1&p=x") ==
        R"(200 {"path":"x","dirs":[],"error":"notScanned"})");
  const std::string dirs = app.told("GET", "/api/dirs?id=1&p=m:%5CR%C3%89%5C");
  CHECK(dirs.starts_with(R"(200 {"path":"m:\\RÉ\\","s":15000031125,"f":250,"dirs":[{"n":"d9",)"));
  CHECK(dirs.ends_with(R"("total":20})"));
  const std::string types = app.told("GET", "/api/ext?id=1&e=.Iso");
  CHECK(
      types.starts_with(R"(200 {"ext":".Iso","folders":[{"p":"M:\\ré\\d9","s":780001677,"c":13})"));
  CHECK(types.ends_with(R"(\\50.ISO","s":60000050,"m":0}],"total":250})"));
  CHECK(app.told("GET", "/api/ext?id=1&e=.txt") ==
        R"(200 {"ext":".txt","folders":[],"files":[],"total":0})");
  const auto csv = app.ask("GET", "/api/export?id=1&what=types");
  CHECK(csv.contentType == "text/csv; charset=utf-8");
  CHECK(csv.payload().ends_with("extension,bytes,files\r\n\".iso\",15000031125,250\r\n"));

  CHECK(app.told("GET", "/api/forget?id=1") == R"(200 {"ok":true})");
  CHECK(app.told("GET", "/api/result?id=1") == R"(404 {"error":"opdracht onbekend"})");
  // A forgotten scan stops reading.
  gate = false;
  CHECK(app.told("POST", "/api/scan", "path=M%3A%5Cr%C3%A9") == R"(200 {"id":3,"ok":true})");
  const std::shared_ptr<Job> forgotten = app.state.jobs.find(3);
  CHECK(app.told("GET", "/api/forget?id=3") == R"(200 {"ok":true})");
  gate = true;
  while (!forgotten->done) std::this_thread::yield();
  CHECK(forgotten->result.fileCount < 250);
}

TEST_CASE("jobs made, watched, cancelled and forgotten by many at once") {
  App app;
  const std::wstring root = app.disk->addFolder(L"M:", L"r");
  for (int i = 0; i < 200; ++i) {
    app.disk->addFile(app.disk->addFolder(root, std::to_wstring(i)), L"f", 1);
  }
  std::vector<std::weak_ptr<Job>> made;
  std::mutex mutex;
  std::vector<std::thread> clients;
  for (int client = 0; client < 16; ++client) {
    clients.emplace_back([&app, &made, &mutex] {
      for (int round = 0; round < 10; ++round) {
        const std::string started = app.told("POST", "/api/scan", "path=M%3A%5Cr");
        const std::string id = started.substr(10, started.find(',') - 10);
        {
          const std::lock_guard lock(mutex);
          made.push_back(app.state.jobs.find(std::stoi(id)));
        }
        app.told("GET", "/api/jobs");
        if (round % 3 == 0) app.told("GET", "/api/cancel?id=" + id);
        if (round % 2 == 0) app.waitUntilDone(std::stoi(id));
        app.told("GET", "/api/result?id=" + id);
        app.told("GET", "/api/dirs?id=" + id + "&p=M%3A%5Cr");
        app.told("GET", "/api/forget?id=" + id);
      }
    });
  }
  for (std::thread& client : clients) client.join();
  CHECK(app.told("GET", "/api/jobs") == "200 []");
  CHECK(made.size() == 160);
  // Forgotten jobs end by themselves and leave nothing behind.
  for (const auto& job : made) {
    while (!job.expired()) std::this_thread::yield();
  }
}

TEST_CASE("live listings") {
  App app;
  const std::wstring root = app.disk->addFolder(L"M:", L"r");
  for (const wchar_t* name : {L"b10", L"B9", L"a", L"b010"}) app.disk->addFolder(root, name);
  app.disk->link(L"M:\\r\\link", L"M:\\elsewhere");
  for (int i = 0; i < 2500; ++i)
    app.disk->addFile(root, L"f" + std::to_wstring(i), static_cast<unsigned>(i / 2));
  CHECK(
      app.told("GET", "/api/browse?p=M%3A%5Cr%5C") ==
      R"(200 {"path":"M:\\r","parent":"M:\\","dirs":[{"n":"a","p":"M:\\r\\a","hidden":false},)"
      R"({"n":"B9","p":"M:\\r\\B9","hidden":false},{"n":"b010","p":"M:\\r\\b010","hidden":false},)"
      R"({"n":"b10","p":"M:\\r\\b10","hidden":false},)"
      R"({"n":"link","p":"M:\\r\\link","hidden":false,"link":true}]})");
  CHECK(app.told("GET", "/api/browse?p=") ==
        R"(200 {"path":"","parent":"","dirs":[{"n":"C:\\","p":"C:\\","hidden":false},)"
        R"({"n":"Debian","p":"\\\\wsl.localhost\\Debian","hidden":false}]})");
  CHECK(app.told("GET", "/api/browse?p=M%3A%5Cnone") ==
        R"(200 {"path":"M:\\none","parent":"M:\\","dirs":[],"error":"noSuchDir"})");
  const std::string files = app.told("GET", "/api/files?p=M%3A%5Cr");
  CHECK(files.starts_with(
      R"(200 {"path":"M:\\r","files":[{"n":"f2498","s":1249,"m":0},{"n":"f2499",)"));
  CHECK(files.ends_with(R"({"n":"f1501","s":750,"m":0}],"total":2500,"dirs":5})"));
  CHECK(app.told("GET", "/api/files?p=") ==
        R"(200 {"path":"","files":[],"total":0,"dirs":0,"error":"noSuchDir"})");
  CHECK(parentOf(L"C:\\a\\b") == L"C:\\a");
  CHECK(parentOf(L"C:\\").empty());
  CHECK(parentOf(L"\\\\s\\d").empty());
  CHECK(parentOf(L"\\\\s\\d\\e") == L"\\\\s\\d");
  CHECK(compareNatural(L"a2b", L"A10") < 0);
  CHECK(compareNatural(L"a", L"A") != 0);
  CHECK(compareNatural(L"x007", L"x7a") < 0);
}
