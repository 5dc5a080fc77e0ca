#include "fileops/deletion_log.h"
#include "fileops/log_entries.h"
#include "support/app.h"
#include "support/cases.h"

using namespace vorda;
using namespace vorda::test;

namespace {

constexpr LocalTime kAt = {2026, 3, 4, 5, 6, 7};

std::string document(App& app) { return std::string(app.ask("GET", "/api/log").payload()); }

} // namespace

TEST_CASE("what is written to the log is read back as it was meant") {
  const std::wstring path = L"C:\\a  (1 weg, 2 overgeslagen)\\b  7  \u00e9";
  const std::vector<std::string_view> words = {"permanent", "binned", "binRefused"};
  for (const DeletionMode mode :
       {DeletionMode::permanent, DeletionMode::binned, DeletionMode::binRefused}) {
    for (const int flags : {0, 1, 2, 3}) {
      const Manner manner = {mode, (flags & 1) != 0, (flags & 2) != 0};
      std::string line = deletedLine(kAt, manner, 18446744073709551615ULL, path);
      line.resize(line.size() - 2);
      const LogEntry entry = logEntryOf(line);
      CHECK(static_cast<int>(entry.kind) == static_cast<int>(mode));
      CHECK(wordOf(entry.kind) == words[static_cast<std::size_t>(mode)]);
      CHECK(entry.at == "2026-03-04 05:06:07");
      CHECK(entry.partly == manner.partly);
      CHECK(entry.interrupted == manner.interrupted);
      CHECK(entry.bytes == 18446744073709551615ULL);
      CHECK(toUtf16(entry.path) == path);
    }
  }
  App app;
  app.disk->log = deletedLine(kAt, {DeletionMode::binned, true, false}, 1, L"C:\\p") +
                  failedLine(kAt, 120, 2, 5) + failedLine(kAt, 0, 1, 1) +
                  cleanedLine(kAt, {true, 9, 3, 1}, path);
  CHECK(
      document(app) ==
      R"({"entries":[{"kind":"cleaned","at":"2026-03-04 05:06:07","interrupted":true,)"
      R"("p":"C:\\a  (1 weg, 2 overgeslagen)\\b  7  é","bytes":9,"deleted":3,"skipped":1},)"
      R"({"kind":"failed","at":"2026-03-04 05:06:07","code":0,"left":1,"paths":1},)"
      R"({"kind":"failed","at":"2026-03-04 05:06:07","code":120,"left":2,"paths":5},)"
      R"({"kind":"binned","at":"2026-03-04 05:06:07","partly":true,"p":"C:\\p","bytes":1}],"more":false})");
}

TEST_CASE("lines that are no records are passed on as text, and cut records are no records") {
  std::string whole = cleanedLine(kAt, {false, 9, 3, 1}, L"C:\\t");
  whole.resize(whole.size() - 2);
  const std::string failed = "2026-03-04 05:06:07  MISLUKT (5)  1 van 2 paden bleven staan";
  REQUIRE(logEntryOf(whole).kind == LogKind::cleaned);
  REQUIRE(logEntryOf(failed).kind == LogKind::failed);
  for (const std::string& line : {whole, failed}) {
    for (std::size_t length = 0; length < line.size(); ++length) {
      const LogEntry entry = logEntryOf(line.substr(0, length));
      CHECK(entry.kind == LogKind::other);
      CHECK(entry.path == line.substr(0, length));
      CHECK(entry.at.empty());
    }
  }
  for (const char* line :
       {"2026-03-04T05:06:07  definitief  1  C:\\x", "2026-03-04 05:06:07  definitief  -1  C:\\x",
        "2026-03-04 05:06:07  definitief  18446744073709551616  C:\\x",
        "2026-03-04 05:06:07  Definitief  1  C:\\x", "2026-03-04 05:06:07  definitief    C:\\x",
        "2026-03-04 05:06:0/  definitief  1  C:\\x", "2026-03-04 05:06:0:  definitief  1  C:\\x",
        "2026-03-04 05:06:07  LEEGGEMAAKT (deels)  1  C:\\x  (1 weg, 2 overgeslagen)",
        "2026-03-04 05:06:07  MISLUKT (5)  1 van 2 paden bleven staan!"}) {
    CHECK(logEntryOf(line).kind == LogKind::other);
    CHECK(logEntryOf(line).path == line);
  }
  CHECK(logEntryOf("2029-09-09 19:19:59  definitief  1  C:\\x").kind == LogKind::permanent);
  CHECK(logEntryOf(std::string(100'000, 'x')).path.size() == 1'000);

  // Anybody may have written into the file: the answer stays JSON.
  App app;
  app.disk->log = "\xff\xfe\"\\\r\n\r\n\n<script>\x01";
  CHECK(document(app) == R"({"entries":[{"kind":"other","p":"<script>\u0001"},)"
                         "{\"kind\":\"other\",\"p\":\"\uFFFD\uFFFD\\\"\\\\\"}],\"more\":false}");
  app.disk->logFails = true;
  CHECK(app.get("/api/log") == R"(500 {"error":"logUnreadable"})");
}

TEST_CASE("of a long log the newest entries are read, and of a huge one its end") {
  App app;
  for (int i = 0; i < 1'001; ++i) {
    app.disk->log += deletedLine(kAt, {}, static_cast<std::uint64_t>(i), L"C:\\x");
  }
  const std::string answer = document(app);
  CHECK(countOf(answer, "\"kind\"") == 1'000);
  CHECK(answer.find("\"bytes\":1000}") < answer.find("\"bytes\":999}"));
  CHECK(answer.find("\"bytes\":0}") == std::string::npos);
  CHECK(answer.ends_with("\"more\":true}"));

  app.disk->log.clear();
  const std::wstring longest(30'000, L'\u00e9');
  for (int i = 0; i < 100; ++i) app.disk->log += deletedLine(kAt, {}, 1, longest);
  const std::string end = document(app);
  CHECK(countOf(end, "\"kind\"") == 4'194'304 / 60'037);
  CHECK(end.find("other") == std::string::npos); // the first line lost its beginning
  CHECK(end.ends_with("\"more\":true}"));
}
