#include "support/app.h"

using namespace vorda;
using namespace vorda::test;

TEST_CASE("live listings: order, links, limits and failures") {
  App app;
  const std::wstring root = app.disk->addFolder(L"M:", L"r");
  for (const wchar_t* name : {L"b10", L"B9", L"a", L"b010"}) app.disk->addFolder(root, name);
  app.disk->link(L"M:\\r\\link", L"M:\\elsewhere");
  for (int i = 0; i < 2500; ++i)
    app.disk->addFile(root, L"f" + std::to_wstring(i), static_cast<unsigned>(i / 2),
                      116'444'736'000'050'000);
  CHECK(
      app.get("/api/browse?p=M%3A/r/") ==
      R"(200 {"path":"M:\\r","parent":"M:\\","dirs":[{"n":"a","p":"M:\\r\\a","hidden":false},)"
      R"({"n":"B9","p":"M:\\r\\B9","hidden":false},{"n":"b010","p":"M:\\r\\b010","hidden":false},)"
      R"({"n":"b10","p":"M:\\r\\b10","hidden":false},)"
      R"({"n":"link","p":"M:\\r\\link","hidden":false,"link":true}]})");
  CHECK(app.get("/api/browse?p=") ==
        R"(200 {"path":"","parent":"","dirs":[{"n":"C:\\","p":"C:\\","hidden":false},)"
        R"({"n":"Debian","p":"\\\\wsl.localhost\\Debian","hidden":false}]})");
  CHECK(app.get("/api/browse?p=M%3A%5Cnone") ==
        R"(200 {"path":"M:\\none","parent":"M:\\","dirs":[],"error":"noSuchDir"})");
  // What a relative path means depends on where the program was started.
  for (const char* path : {"r", "M%3Ar", "%5Cr", "%2Fr", ".%5Cr", "%5C%5C", "1%3A%5Cr"}) {
    for (const char* route : {"/api/browse?p=", "/api/files?p="}) {
      CAPTURE(path);
      CHECK(app.get(std::string(route) + path) == R"(400 {"error":"notabsolute"})");
    }
  }
  CHECK(app.get("/api/browse?p=M%3A").starts_with(R"(200 {"path":"M:\\","parent":"",)"));
  const std::string files = app.get("/api/files?p=M%3A%5Cr");
  CHECK(files.starts_with(
      R"(200 {"path":"M:\\r","files":[{"n":"f2498","s":1249,"m":5},{"n":"f2499",)"));
  CHECK(files.ends_with(R"({"n":"f1501","s":750,"m":5}],"total":2500,"dirs":5})"));
  const auto page = [&app](const char* part) {
    return app.get(std::string("/api/files?p=M%3A%5Cr") + part);
  };
  CHECK(page("&from=1000&most=2") ==
        R"(200 {"path":"M:\\r","files":[{"n":"f1498","s":749,"m":5},{"n":"f1499","s":749,"m":5}],)"
        R"("total":2500,"dirs":5})");
  CHECK(page("&from=2499&most=200000") ==
        R"(200 {"path":"M:\\r","files":[{"n":"f1","s":0,"m":5}],"total":2500,"dirs":5})");
  for (const char* none :
       {"&from=2500", "&from=18446744073709551615", "&from=200000&most=5", "&most=0"}) {
    CHECK(page(none) == R"(200 {"path":"M:\\r","files":[],"total":2500,"dirs":5})");
  }
  for (const char* odd : {"&from=-1", "&most=x", "&from=1x", "&most=99999999999999999999"})
    CHECK(page(odd) == files);
  const std::wstring odd = app.disk->addFolder(L"M:", L"odd."); // not what such a name is read as
  for (int i = 0; i <= 200'000; ++i) app.disk->addFile(odd, L"", 1);
  CHECK(app.get("/api/files?p=M:%5Codd.&from=199999&most=9") ==
        R"(200 {"path":"M:\\odd.","files":[{"n":"","s":1,"m":0}],"total":200001,"dirs":0})");
  app.disk->onOpen = [](const std::wstring& path) { CHECK(!path.empty()); };
  CHECK(app.get("/api/files?p=") ==
        R"(200 {"path":"","files":[],"total":0,"dirs":0,"error":"noSuchDir"})");
}
