#include "support/app.h"

#include <doctest/doctest.h>

using namespace vorda;
using test::App;

TEST_CASE("page, handshake, quit, elevate and reveal") {
  App app;
  for (const char* path : {"/", "/index.html", "/?scan=C%3A"}) {
    const HttpResponse page = app.ask("PUT", path, "", {{"origin", "http://evil.example"}});
    CHECK(page.status == 200);
    CHECK(page.contentType == "text/html; charset=utf-8");
    CHECK(page.payload() == "<p>page</p>");
  }
  CHECK(app.ask("GET", "/favicon.ico").status == 404);
  CHECK(app.told("GET", "/api/hello") == R"(200 {"auth":false,"server":false,"canQuit":true})");
  CHECK(app.told("GET", "/api/quit") == R"(200 {"ok":true})");
  CHECK(app.quits == 1);
  {
    const RunningOperations::Operation running = app.state.operations.begin();
    CHECK(app.told("GET", "/api/quit") == R"(200 {"ok":true,"waiting":true})");
    CHECK_FALSE(app.state.operations.waitUntilNone(std::chrono::milliseconds(0)));
  }
  CHECK(app.told("GET", "/api/quit") == R"(200 {"ok":true})");
  CHECK(app.state.operations.waitUntilNone(std::chrono::milliseconds(0)));
  app.quits = 1;
  app.elevated = false;
  CHECK(app.told("GET", "/api/elevate") == R"(200 {"ok":true})");
  CHECK(app.elevations == 1);
  CHECK(app.told("GET", "/api/reveal?p=C%3A%5C%C3%A9") == R"(200 {"ok":true})");
  CHECK(app.told("GET", "/api/reveal?p=%2Fvar") == R"(200 {"ok":true})"); // a remote path
  CHECK(app.revealed == std::vector<std::wstring>{L"C:\\\u00E9"});
  app.state.remote = true;
  const TextMap key = {{"x-vorda-token", "KEY23"}};
  CHECK(app.told("GET", "/api/quit", "", key) == R"(400 {"error":"quitRefused"})");
  CHECK(app.quits == 1);
  CHECK(app.told("GET", "/api/hello") == R"(200 {"auth":true,"server":false,"canQuit":false})");
  app.state.serverMode = true;
  CHECK(app.told("GET", "/api/hello") == R"(200 {"auth":true,"server":true,"canQuit":false})");
}
