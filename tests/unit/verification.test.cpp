#include "support/runs.h"

#include <chrono>
#include <thread>

using namespace vorda;
using namespace vorda::test;

TEST_CASE("verification reads files again") {
  App app;
  app.addContent(L"C:\\", L"a", "same");
  app.addContent(L"C:\\", L"b", "same", 5);
  app.addContent(L"C:\\", L"link", "same", 5);
  app.addContent(L"C:\\", L"c", "othe");
  app.addContent(L"C:\\", L"locked", "same");
  app.contents->edit(L"C:\\locked", [](auto& file) { file.failure = FileFailure::unreadable; });
  app.contents->edit(L"C:\\a", [](auto& file) { file.state.created = 2; });
  app.addContent(L"C:\\Windows", L"d", "same");
  app.addContent(L"C:\\", L"torn", "same");
  app.contents->onRead = [&app](const std::wstring& path) {
    if (path == L"C:\\torn") app.contents->rewrite(path, "tore");
  };
  CHECK(app.post("/api/verifydups", "x=1") == R"(400 {"error":"niets opgegeven"})");
  std::string checked =
      runToEnd(app, "/api/verifydups",
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
  CHECK(checked == expectedDocument("verification"));

  // After a cancel, only files that were read count as equal.
  app.contents->onRead = [&app](const std::wstring& path) {
    if (path == L"C:\\c") app.post("/api/verifydups", "cancel=1");
  };
  const std::string cut = runToEnd(app, "/api/verifydups", "p=C:%5Ca&p=C:%5Cc&p=C:%5Cb&p=C:%5Ca");
  CHECK(holds(cut, R"("error":"cancelled"},{"p":"C:\\a","size":4)"));
  CHECK(cut.ends_with(R"("duplicates":[],"lock":["","","",""],"read":8,"files_checked":3,)"
                      R"("running":false,"cancelled":true})"));

  // While it runs: what cannot be looked at, and what is known already, is not to be read.
  std::string steps;
  app.contents->onLook = [&](const std::wstring&) {
    steps += app.get("/api/verifydups").substr(20) + "\n";
  };
  app.contents->onRead = [&](const std::wstring& path) {
    CHECK(!app.contents->isWritable(path));
    app.contents->onLook(path);
  };
  app.contents->onOpen = [](const std::wstring& path) { CHECK(path != L"C:\\gone"); };
  runToEnd(app, "/api/verifydups", "p=C:%5Ca&p=C:%5Cgone&p=C:%5Cb&p=C:%5Ca");
  CHECK(steps ==
        R"("total":0,"read":0,"files":4,"files_done":0,"percent":0,"phase":"comparing","seen":0}
"total":0,"read":0,"files":4,"files_done":1,"percent":1,"phase":"comparing","seen":0}
"total":0,"read":0,"files":4,"files_done":2,"percent":2,"phase":"comparing","seen":0}
"total":0,"read":0,"files":4,"files_done":3,"percent":3,"phase":"comparing","seen":0}
"total":8,"read":0,"files":4,"files_done":0,"percent":5,"phase":"hashing","seen":0}
"total":8,"read":4,"files":4,"files_done":2,"percent":52,"phase":"hashing","seen":0}
)");
  // The second of two equal paths was read when the first was.
  app.contents->onLook = nullptr;
  app.contents->onOpen = nullptr;
  app.contents->onRead = [](const std::wstring& path) {
    if (path == L"C:\\c") std::this_thread::sleep_for(std::chrono::milliseconds(5));
  };
  const std::string twice =
      runToEnd(app, "/api/verifydups", "seen=1&p=C:%5Ca&p=C:%5Cc&p=C:%5Cb&p=C:%5Ca");
  const std::size_t first = twice.find("\"seen\":");
  const std::size_t last = twice.rfind("\"seen\":");
  CHECK(twice.substr(first, twice.find('}', first) - first) ==
        twice.substr(last, twice.find(",\"same\"", last) - last));
  CHECK(holds(twice, R"("duplicates":[[0,2]])"));
  // Two names of one file that are told apart by what is known of them cannot both be right.
  app.contents->onLook = app.contents->onRead = nullptr;
  app.contents->edit(L"C:\\link", [](auto& file) { ++file.state.lastWrite; });
  CHECK(holds(runToEnd(app, "/api/verifydups", "p=C:%5Cb&p=C:%5Clink"),
              R"({"p":"C:\\link","error":"changed","same":0})"));
}
