#include "api/gate.h"
#include "api/routes.h"
#include "support/app.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <map>

using namespace vorda;
using test::App;

namespace {

constexpr const char* kForeign = R"(403 {"error":"foreignOrigin"})";
constexpr const char* kNoKey = R"(401 {"error":"onjuiste of ontbrekende sleutel"})";
constexpr const char* kUnknown = R"(404 {"error":"onbekend eindpunt"})";

// How the response of each route to a POST with an empty body begins. A new route needs a
// row here.
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

TEST_CASE("every route rejects foreign requests, missing keys and misspelt paths") {
  for (const Route& route : routes()) {
    const std::string path(route.path);
    CAPTURE(path);
    REQUIRE(kBareAnswers.contains(path));
    App page;
    CHECK(page.told("POST", path, "", {{"host", "evil.example"}}) == kForeign);
    CHECK(page.quits == 0);
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
    CHECK(App().told("POST", path).starts_with(kBareAnswers.at(path)));

    App agent;
    agent.state.remote = true;
    CHECK((agent.told("POST", path) == kNoKey) == (path != "/api/hello"));
    const std::string withKey = agent.told("POST", path, "", {{"x-vorda-token", "KEY23"}});
    if (path != "/api/quit") CHECK(withKey.starts_with(kBareAnswers.at(path)));
  }
  for (const auto& row : kBareAnswers) {
    CHECK(std::any_of(routes().begin(), routes().end(),
                      [&row](const Route& one) { return one.path == row.first; }));
  }
}

TEST_CASE("who counts as foreign, with and without a key") {
  for (const char* host :
       {"evil.example", "127.0.0.2", "::1", "[::1", "localhost.evil.example", "", "0.0.0.0",
        "127.0.0.1.", "127.0.0.1@evil.example", "http://http://localhost", "localhost//",
        "[::2]:80", "null", "file://", "https://evil.example", "ftp://localhost"}) {
    CHECK_FALSE(isLoopbackHost(host));
  }
  for (const char* host : {"127.0.0.1", "127.0.0.1:7666", "LOCALHOST:1", "[::1]:7666", "[::1]",
                           "http://localhost:7666/", "https://127.0.0.1/", "localhost/"}) {
    CHECK(isLoopbackHost(host));
  }
  App page;
  App agent;
  agent.state.remote = true;
  const auto foreign = [](App& app, TextMap headers) {
    headers["x-vorda-token"] = "KEY23";
    return app.told("GET", "/api/jobs", "", headers) == kForeign;
  };
  for (const char* name : {"host", "origin"}) {
    CHECK(foreign(page, {{name, "evil.example"}}));
    CHECK_FALSE(foreign(page, {{name, "localhost"}}));
    CHECK_FALSE(foreign(agent, {{name, "evil.example"}}));
  }
  for (const char* site : {"cross-site", "same-site", "", "SAME-ORIGINX", " none", "null"}) {
    CHECK(foreign(page, {{"sec-fetch-site", site}, {"host", "127.0.0.1:7666"}}));
    CHECK(foreign(agent, {{"sec-fetch-site", site}}));
  }
  for (const char* site : {"same-origin", "none", "Same-Origin"}) {
    CHECK_FALSE(foreign(page, {{"sec-fetch-site", site}}));
  }
  // Of what no site seems to have caused, only the action is refused when it is navigated to.
  const TextMap redirect = {{"sec-fetch-site", "none"}, {"sec-fetch-mode", "Navigate"}};
  for (const char* path : {"quit", "elevate", "forget?id=1", "cancel?id=1", "reveal?p=C%3A"}) {
    CHECK(page.told("GET", std::string("/api/") + path, "", redirect) == kForeign);
  }
  CHECK(page.quits == 0);
  CHECK_FALSE(foreign(page, redirect));
  CHECK(foreign(page, {{"sec-fetch-site", "none"}, {"sec-purpose", "prefetch;prerender"}}));
  CHECK(foreign(page, {{"origin", "http://127.0.0.1:1"}, {"sec-websocket-key", "x"}}));
  const TextMap own = {{"sec-fetch-site", "same-origin"}, {"sec-fetch-mode", "navigate"}};
  CHECK(page.told("GET", "/api/quit", "", own) == R"(200 {"ok":true})");
}

TEST_CASE("only the exact key opens, in the header or the query") {
  App agent;
  agent.state.remote = true;
  CHECK(agent.told("GET", "/api/jobs?token=KEY23") == "200 []");
  CHECK(agent.told("GET", "/api/jobs?token=KEY23", "", {{"x-vorda-token", ""}}) == "200 []");
  for (const char* key : {"key23", "KEY2", "KEY234", " KEY23", "KEY23 ", "KEY24", "KEY23KEY23"}) {
    CHECK(agent.told("GET", std::string("/api/jobs?token=") + key) == kNoKey);
    CHECK(agent.told("GET", "/api/jobs?token=KEY23", "", {{"x-vorda-token", key}}) == kNoKey);
  }
  agent.state.key.clear();
  CHECK(agent.told("GET", "/api/jobs?token=") == kNoKey);
}

TEST_CASE("a handler that throws answers 500, and the next request is served") {
  App app;
  app.state.targets = []() -> TargetList { throw std::bad_alloc(); };
  CHECK(app.told("GET", "/api/targets") == R"(500 {"error":"internalError"})");
  CHECK(app.told("GET", "/api/jobs") == "200 []");
}
