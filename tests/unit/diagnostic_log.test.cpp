#include "api/request_log.h"
#include "base/diagnostic_log.h"
#include "scan/scan_log.h"
#include "support/app.h"

using namespace vorda;
using namespace vorda::test;

namespace {

struct Kept {
  std::string text;
  DiagnosticLog log;

  explicit Kept(bool withNames = false)
      : log([this](std::string_view line) { text += line; }, withNames,
            [] { return std::uint64_t{1'795'342'500'123}; }) {}
};

} // namespace

TEST_CASE("lines of the diagnostic log") {
  Kept kept;
  kept.log.write(LogLevel::info, "one");
  kept.log.write(LogLevel::detail, "C:\\secret name");
  kept.log.write(LogLevel::error, "a\r\nforged\x7F line \xC3\xA9");
  CHECK(kept.text == "2026-11-22T10:15:00.123Z info    one\n"
                     "2026-11-22T10:15:00.123Z error   a??forged? line \xC3\xA9\n");
  Kept named(true);
  named.log.write(LogLevel::detail, "C:\\x");
  CHECK(named.text == "2026-11-22T10:15:00.123Z detail  C:\\x\n");
  DiagnosticLog none;
  none.write(LogLevel::error, "nobody reads this");
  CHECK_FALSE(none.keeps(LogLevel::error));
}

TEST_CASE("a diagnostic log does not grow without end") {
  Kept kept;
  const std::string megabyte(1'048'576, 'x');
  for (int i = 0; i < 20; ++i) kept.log.write(LogLevel::warning, megabyte);
  CHECK(kept.text.size() < kMostLogBytes + 100);
  CHECK(kept.text.size() > kMostLogBytes - 2 * megabyte.size());
  CHECK(kept.text.ends_with("warning the log is full\n"));
}

TEST_CASE("what requests and scans leave in the log names no file and no key") {
  for (const bool withNames : {false, true}) {
    Kept kept(withNames);
    App app;
    app.state.keyRequired = true;
    app.disk->addFile(L"C:\\private", L"a.txt", 5);
    app.state.steps = loggedSteps(app.state.steps, kept.log);
    const RequestGate gate = loggedGate(makeGate(app.state), kept.log);
    const auto ask = [&gate](const char* method, const char* target, const char* body = "") {
      HttpRequest request = requestOf(method, target, body);
      if (gate.admit(request).refusal) return std::string();
      return std::string(gate.handle(request).payload());
    };
    ask("GET", "/api/jobs?token=WRONGKEY");
    ask("GET", "/api/KEY23?token=KEY23");
    ask("GET", "/api/dirs?token=KEY23&p=C:\\private");
    ask("KEY23", "/api/hello?token=KEY23");
    for (const char* page : {"/", "/index.html"}) ask("GET", page);
    app.state.targets = []() -> TargetList {
      std::this_thread::sleep_for(std::chrono::milliseconds(2));
      throw std::runtime_error("any");
    };
    ask("GET", "/api/targets?token=KEY23");
    const std::string begun =
        ask("POST", "/api/scan?token=KEY23", "path=C%3A%5Cprivate&password=hushhush");
    app.waitUntilDone(std::stoi(begun.substr(begun.find("\"id\":") + 5)));
    const std::string& text = kept.text;
    CAPTURE(text);
    for (const char* secret : {"KEY", "hush", "password", "token", "a.txt"}) {
      CHECK(text.find(secret) == std::string::npos);
    }
    CHECK((text.find("private") != std::string::npos) == withNames);
    for (const char* said :
         {"warning GET /api/jobs refused, 401\n", "warning unknown path refused, 404\n",
          "warning GET /api/dirs 400, ", "info    other method /api/hello 200, 43 bytes, ",
          "info    POST /api/scan 200, ", "info    no turbo: notlocal\n", "info    GET / 200, ",
          "info    GET /index.html 200, ", "error   GET /api/targets 500, 25 bytes, ",
          "info    scan by walk begins\n", "info    scan by walk ends: 1 files, "}) {
      CHECK(holds(text, said));
    }
    const int ms = std::stoi(text.substr(text.find(" 25 bytes, ") + 11));
    CHECK((ms >= 2 && ms < 60'000));
  }
}

TEST_CASE("a request whose line cannot be written is answered all the same") {
  App app;
  app.disk->addFile(L"C:\\r", L"a.txt", 5);
  DiagnosticLog log([](std::string_view) { throw std::bad_alloc(); }, false,
                    [] { return std::uint64_t{0}; });
  const RequestGate gate = loggedGate(makeGate(app.state), log);
  HttpRequest request = requestOf("POST", "/api/delete", "permanent=1&p=C:%5Cr%5Ca.txt");
  CHECK_FALSE(gate.admit(request).refusal);
  CHECK(holds(gate.handle(request).payload(), "{\"deleted\":1,"));
  CHECK(app.disk->at(L"C:\\r\\a.txt") == nullptr);
  parseTarget("/api/none", request);
  CHECK(gate.admit(request).refusal->status == 404);
}
