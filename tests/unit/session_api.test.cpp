#include "support/app.h"

using namespace vorda;
using namespace vorda::test;

TEST_CASE("page, handshake, quit, elevate and reveal") {
  App app;
  for (const char* path : {"/", "/index.html", "/?scan=C%3A"}) {
    const HttpResponse page = app.ask("PUT", path, "", {{"origin", "http://evil.example"}});
    CHECK(page.status == 200);
    CHECK(page.contentType == "text/html; charset=utf-8");
    CHECK(page.payload() == "<p>page</p>");
  }
  CHECK(app.ask("GET", "/favicon.ico").status == 404);
  app.state.about = [] { return AboutFacts{L"1", false, L"C:\\l", L"", 0}; };
  CHECK(app.get("/api/about") == R"(200 {"version":"1","signed":false,"log":"C:\\l"})");
  CHECK(app.get("/api/quit") == R"(200 {"ok":true})");
  CHECK(app.quits == 1);
  {
    const RunningOperations::Operation running = app.state.operations.begin();
    CHECK(app.get("/api/quit") == R"(200 {"ok":true,"waiting":true})");
  }
  CHECK(app.get("/api/quit") == R"(200 {"ok":true})");
  app.quits = 1;
  app.elevated = false;
  CHECK(app.get("/api/elevate") == R"(200 {"ok":true})");
  CHECK(app.elevations == 1);
  CHECK(app.get("/api/reveal?p=C%3A%5C%C3%A9") == R"(200 {"ok":true})");
  CHECK(app.get("/api/reveal?p=%2Fvar") == R"(200 {"ok":true})"); // a remote path
  CHECK(app.get("/api/reveal?p=C%3A%2Fa%2Fb.txt") == R"(200 {"ok":true})");
  CHECK(app.revealed == std::vector<std::wstring>{L"C:\\\u00E9", L"C:\\a\\b.txt"});
  app.state.remote = app.state.keyRequired = true;
  const TextMap key = {{"x-vorda-token", "KEY23"}};
  CHECK(app.get("/api/quit", key) == R"(400 {"error":"quitRefused"})");
  CHECK(app.get("/api/elevate", key) == R"(400 {"error":"elevateRefused"})");
  CHECK(app.elevations == 1);
  CHECK(app.quits == 1);
  app.state.serverMode = true;
  CHECK(app.get("/api/hello") == R"(200 {"auth":true,"server":true,"canQuit":false})");
}

TEST_CASE("the path the program was started with is told once, and to its own page only") {
  App app;
  app.state.startPath.set(L"\\\\nas\\sh\u00E9");
  CHECK(app.ask("GET", "/api/targets", "", {{"origin", "http://evil.example"}}).status == 403);
  CHECK(app.ask("GET", "/api/targets", "", {{"sec-fetch-site", "cross-site"}}).status == 403);
  const auto list = app.state.targets;
  app.state.targets = []() -> TargetList { throw std::bad_alloc(); };
  CHECK(app.ask("GET", "/api/targets").status == 500);
  app.state.targets = list;
  CHECK(app.get("/api/targets").ends_with(R"("logPath":"","startPath":"\\\\nas\\shé"})"));
  CHECK(app.get("/api/targets").ends_with(R"("logPath":""})"));
}
