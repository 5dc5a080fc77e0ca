#include "support/app.h"

using namespace vorda;
using namespace vorda::test;

TEST_CASE("folders, types and CSV of a finished scan") {
  App app;
  const std::wstring root = app.disk->addFolder(L"M:", L"r\u00E9");
  for (int i = 0; i < 20; ++i) app.disk->addFolder(root, L"d" + std::to_wstring(i));
  for (int i = 0; i < 250; ++i) {
    app.disk->addFile(root + L"\\d" + std::to_wstring(i % 20), std::to_wstring(i) + L".ISO",
                      60'000'000 + static_cast<unsigned>(i));
  }
  app.scanned("M%3A%5Cr%C3%A9");
  CHECK(app.get("/api/dirs?id=1&p=x") == R"(200 {"path":"x","dirs":[],"error":"notScanned"})");
  const std::string dirs = app.get("/api/dirs?id=1&p=m:%5CR%C3%89%5C");
  CHECK(dirs.starts_with(R"(200 {"path":"m:\\RÉ\\","s":15000031125,"f":250,"dirs":[{"n":"d9",)"));
  CHECK(dirs.ends_with(R"("total":20})"));
  const std::string types = app.get("/api/ext?id=1&e=.Iso");
  CHECK(
      types.starts_with(R"(200 {"ext":".Iso","folders":[{"p":"M:\\ré\\d9","s":780001677,"c":13})"));
  CHECK(types.ends_with(R"(\\50.ISO","s":60000050,"m":0}],"total":250})"));
  CHECK(app.get("/api/ext?id=1&e=.txt") ==
        R"(200 {"ext":".txt","folders":[],"files":[],"total":0})");
  app.disk->addFile(root, L"a.txt", 7);
  for (int i = 0; i < 30; ++i) app.disk->addFile(root, L"x.t" + std::to_wstring(i), 1);
  for (const wchar_t* name : {L"z", L"y"}) app.disk->addFolder(root, name);
  app.scanned("M%3A%5Cr%C3%A9");
  CHECK(app.get("/api/dirs?id=2&p=M:%5Cr%C3%A9")
            .ends_with(R"({"n":"y","s":0,"f":0},{"n":"z","s":0,"f":0}],"total":22})"));
  const std::string all = app.get("/api/types?id=2");
  CHECK(all.starts_with(
      R"(200 {"types":[{"e":".iso","s":15000031125,"c":250},{"e":".txt","s":7,"c":1},)"
      R"({"e":".t0","s":1,"c":1},)"));
  CHECK(all.ends_with(R"(],"total":32})"));
  CHECK(app.get("/api/types?id=9") == R"(404 {"error":"noJob"})");
  const auto csv = app.ask("GET", "/api/export?id=1&what=types");
  CHECK(csv.contentType == "text/csv; charset=utf-8");
  CHECK(csv.payload().ends_with("extension,bytes,files\r\n\".iso\",15000031125,250\r\n"));
}
