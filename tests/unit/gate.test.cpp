#include "api/gate.h"
#include "api/routes.h"
#include "support/app.h"

#include <algorithm>
#include <map>
#include <sstream>

using namespace vorda;
using namespace vorda::test;

namespace {

constexpr const char* kForeign = R"(403 {"error":"foreignOrigin"})";
constexpr const char* kNoKey = R"(401 {"error":"onjuiste of ontbrekende sleutel"})";
constexpr const char* kUnknown = R"(404 {"error":"onbekend eindpunt"})";

// How routes answer a POST with an empty body, where nothing else shows it.
const std::map<std::string, std::string> kBareAnswers = {
    {"/api/about",
     R"(200 {"version":"1.9.0","signed":true,"log":"","crash":{"path":"C:\\r\\crash.dmp","time":7}})"},
    {"/api/openapi.json", R"(200 {"openapi":1})"},
    {"/api/elevate", R"(200 {"ok":true,"already":true})"},
    {"/api/log", R"(200 {"entries":[],"more":false})"}};

} // namespace

TEST_CASE("every route rejects foreign requests, missing keys and misspelt paths") {
  for (const Route& route : routes()) {
    const std::string path(route.path);
    CAPTURE(path);
    App page;
    CHECK(page.post(path, "", {{"host", "evil.example"}}) == kForeign);
    CHECK(page.quits == 0);
    for (const std::string& other : {path + "/", path + "%20", "/" + path, "/API" + path.substr(4),
                                     path.substr(1), path + ";x", path + "#"}) {
      CHECK(page.post(other) == kUnknown);
    }
    const auto rows = std::count_if(routes().begin(), routes().end(),
                                    [&path](const Route& one) { return one.path == path; });
    for (const char* method : {"GET", "post"}) {
      const bool unknown = page.told(method, path) == kUnknown;
      CHECK(unknown == (!route.method.empty() && rows == 1));
    }
    const std::string bare = App().post(path);
    CHECK(bare != kUnknown);

    App agent;
    agent.state.remote = agent.state.keyRequired = true;
    CHECK((agent.post(path) == kNoKey) == (path != "/api/hello"));
    // These are about the machine that somebody sits at, and the key.
    const bool local = path == "/api/quit" || path == "/api/elevate" || path == "/api/openbin" ||
                       path == "/api/preview" || path == "/api/hello";
    CHECK((agent.post(path, "", {{"x-vorda-token", "KEY23"}}) == bare) == !local);
  }
  for (const auto& [path, bare] : kBareAnswers) CHECK(App().post(path) == bare);
  for (const char* path : {"files", "file", "dirs", "ext", "types"})
    CHECK(App().post(std::string("/api/") + path) == R"(400 {"error":"nopath"})");
  for (const char* path : {"cancel", "forget", "reveal"})
    CHECK(App().post(std::string("/api/") + path) == R"(200 {"ok":true})");
}

TEST_CASE("who counts as foreign, with and without a key") {
  std::istringstream others(
      "evil.example 127.0.0.2 ::1 [::1 localhost.evil.example 0.0.0.0 127.0.0.1. "
      "127.0.0.1@evil.example http://https://localhost localhost// [::2]:80 null file:// "
      "https://evil.example ftp://localhost localhost:80.evil.example [::1]evil.example "
      "http://localhost:x@evil.example localhost: localhost:80:90 localhost:80/x [::1]80 "
      "127.0.0.1:-1");
  for (std::string host; others >> host;) CHECK_FALSE(isLoopbackHost(host));
  CHECK_FALSE(isLoopbackHost(""));
  for (const char* host : {"127.0.0.1", "127.0.0.1:7666", "LOCALHOST:1", "[::1]:7666", "[::1]",
                           "http://localhost:7666/", "https://127.0.0.1/", "localhost/"}) {
    CHECK(isLoopbackHost(host));
  }
  App page;
  App agent;
  agent.state.remote = agent.state.keyRequired = true;
  const auto foreign = [](App& app, TextMap headers) {
    headers["x-vorda-token"] = "KEY23";
    return app.get("/api/jobs", headers) == kForeign;
  };
  for (const char* name : {"host", "origin"}) {
    CHECK(foreign(page, {{name, "evil.example"}}));
    CHECK_FALSE(foreign(page, {{name, "localhost"}}));
    CHECK_FALSE(foreign(agent, {{name, "evil.example"}}));
  }
  const auto twice = [&page](const std::string& lines) {
    return admitRequest(page.state, requestOf("", "/api/jobs", "", lines)).refusal.has_value();
  };
  CHECK(twice("Host: evil.example\r\nHost: localhost"));
  CHECK(twice("Host: localhost\r\nOrigin: null\r\norigin: http://localhost"));
  CHECK_FALSE(twice("Host: localhost\r\nhost: localhost"));
  for (const char* site : {"cross-site", "same-site", "", "SAME-ORIGINX", "none ", "null"}) {
    CHECK(foreign(page, {{"sec-fetch-site", site}, {"host", "127.0.0.1:7666"}}));
    CHECK(foreign(agent, {{"sec-fetch-site", site}}));
  }
  for (const char* site : {"same-origin", "none", "Same-Origin"}) {
    CHECK_FALSE(foreign(page, {{"sec-fetch-site", site}}));
  }
  // Of what no site seems to have caused, only the action is refused when it is navigated to.
  const TextMap redirect = {{"sec-fetch-site", "none"}, {"sec-fetch-mode", "Navigate"}};
  for (const char* path : {"quit", "elevate", "forget?id=1", "cancel?id=1", "reveal?p=C%3A"}) {
    CHECK(page.get(std::string("/api/") + path, redirect) == kForeign);
  }
  CHECK(page.quits == 0);
  CHECK_FALSE(foreign(page, redirect));
  CHECK(foreign(page, {{"sec-fetch-site", "none"}, {"sec-purpose", "prefetch;prerender"}}));
  CHECK(foreign(page, {{"origin", "http://127.0.0.1:1"}, {"sec-websocket-key", "x"}}));
  const TextMap own = {{"sec-fetch-site", "same-origin"}, {"sec-fetch-mode", "navigate"}};
  CHECK(page.get("/api/quit", own) == R"(200 {"ok":true})");
}

TEST_CASE("only the exact key opens, in the header or the query") {
  App agent;
  agent.state.remote = agent.state.keyRequired = true;
  CHECK(agent.get("/api/jobs?token=KEY23") == "200 []");
  CHECK(agent.get("/api/jobs?token=KEY23", {{"x-vorda-token", ""}}) == "200 []");
  for (const char* key : {"key23", "KEY2", "KEY234", "\vKEY23", "KEY23 ", "KEY24", "KEY23KEY23"}) {
    CHECK(agent.get(std::string("/api/jobs?token=") + key) == kNoKey);
    CHECK(agent.get("/api/jobs?token=KEY23", {{"x-vorda-token", key}}) == kNoKey);
  }
  agent.state.key.clear();
  CHECK(agent.get("/api/jobs?token=") == kNoKey);
  CHECK(agent.get("/api/nothing") == kNoKey);
}

TEST_CASE("what a request may do is known from its head") {
  App app;
  const auto trust = [&app](const std::string& target, const std::string& lines = {}) {
    return admitRequest(app.state, requestOf("", target, "", lines)).trust;
  };
  CHECK(trust("/api/jobs") == Trust::open);
  app.state.keyRequired = true; // as with --lock: the rules for hosts stay
  CHECK(trust("/api/jobs") == Trust::none);
  CHECK(trust("/") == Trust::none);
  CHECK(app.get("/") == "200 <p>page</p>");
  CHECK(trust("/api/hello") == Trust::none);
  CHECK(trust("/api/jobs?token=KEY23") == Trust::key);
  CHECK(trust("/api/hello", "X-Vorda-Token: KEY23") == Trust::key);
  CHECK(app.get("/api/jobs", {{"host", "evil"}, {"x-vorda-token", "KEY23"}}) == kForeign);
  CHECK(app.get("/api/hello") == R"(200 {"auth":true,"server":false,"canQuit":true})");
}

TEST_CASE("too many fields are refused before they are decoded") {
  App app;
  const std::string kTooMany = R"(400 {"error":"tooManyFields"})";
  CHECK(app.get("/api/jobs?" + std::string(kMaxQueryFields - 1, '&')) == "200 []");
  CHECK(app.get("/api/jobs?" + std::string(kMaxQueryFields, '&')) == kTooMany);
  CHECK(app.post("/api/jobs", std::string(kMaxBodyFields - 1, '&')) == "200 []");
  CHECK(app.post("/api/jobs", std::string(kMaxBodyFields, '&')) == kTooMany);
}

TEST_CASE("guessing keys over the network is refused for a minute, from that address only") {
  constexpr std::uint32_t kGuesser = 0x0A000001;
  WrongKeys keys;
  const WrongKeys::TimePoint began{std::chrono::hours(1)};
  for (unsigned i = 0; i < WrongKeys::kAllowed; ++i) {
    CHECK_FALSE(keys.refuses(kGuesser, began));
    keys.note(kGuesser, began + std::chrono::seconds(i));
    keys.note(kLoopbackAddress, began);
  }
  const auto last = began + std::chrono::seconds(WrongKeys::kAllowed - 1);
  CHECK(keys.refuses(kGuesser, last + std::chrono::seconds(59)));
  CHECK_FALSE(keys.refuses(kGuesser, last + std::chrono::seconds(60)));
  CHECK_FALSE(keys.refuses(kGuesser + 1, last));
  CHECK_FALSE(keys.refuses(kLoopbackAddress, last));
  // Slow guesses are not refused, and others do not push the one that is out of the table.
  WrongKeys slow;
  for (int i = 0; i < 100; ++i) {
    slow.note(kGuesser, began + std::chrono::seconds(4 * i));
    CHECK_FALSE(slow.refuses(kGuesser, began + std::chrono::seconds(4 * i)));
  }
  const auto flood = [&](std::size_t count, int second) {
    for (std::uint32_t i = 0; i < count; ++i) {
      keys.note(kGuesser + 2 + i, last + std::chrono::seconds(second));
    }
  };
  flood(2 * WrongKeys::kMaxAddresses, 61);
  for (unsigned i = 0; i < WrongKeys::kAllowed; ++i) {
    keys.note(kGuesser + 1, last + std::chrono::seconds(62));
  }
  flood(WrongKeys::kMaxAddresses - 1, 63);
  flood(1, 63); // of one that is known already
  CHECK(keys.refuses(kGuesser + 1, last + std::chrono::seconds(63)));
  keys.note(kGuesser, last + std::chrono::seconds(63));
  CHECK_FALSE(keys.refuses(kGuesser + 1, last + std::chrono::seconds(63))); // no more fit
  keys.note(kGuesser - 1, last + std::chrono::seconds(200));

  App agent;
  agent.state.remote = agent.state.keyRequired = true;
  HttpRequest guess;
  guess.address = kGuesser;
  for (const char* target : {"/api/jobs", "/api/jobs?token=no"}) { // no key is no guess
    parseTarget(target, guess);
    for (unsigned i = 0; i < WrongKeys::kAllowed; ++i) {
      CHECK(admitRequest(agent.state, guess).refusal->status == 401);
      agent.state.wrongKeys.note(kGuesser + 1,
                                 std::chrono::steady_clock::now() - WrongKeys::kPeriod);
    }
  }
  parseTarget("/api/jobs?token=KEY23", guess);
  CHECK(admitRequest(agent.state, guess).refusal->status == 429);
  CHECK(admitRequest(agent.state, guess).trust == Trust::none);
  guess.address = kGuesser + 1; // whose minute is over
  CHECK_FALSE(admitRequest(agent.state, guess).refusal);
  CHECK(agent.get("/api/jobs?token=KEY23") == "200 []");
}

TEST_CASE("a handler that throws answers 500, and the next request is served") {
  App app;
  app.state.targets = []() -> TargetList { throw std::bad_alloc(); };
  CHECK(app.get("/api/targets") == R"(500 {"error":"noMemory"})");
  app.state.targets = []() -> TargetList { throw std::runtime_error("any other"); };
  CHECK(app.get("/api/targets") == R"(500 {"error":"internalError"})");
  CHECK(app.get("/api/jobs") == "200 []");
}
