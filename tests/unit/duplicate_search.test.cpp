#include "support/runs.h"

using namespace vorda;
using namespace vorda::test;

TEST_CASE("the duplicate search, from form fields to document") {
  App app;
  const std::string big(1'048'576, 'b');
  const std::wstring windows = app.disk->addFolder(L"C:\\", L"Windows");
  const std::wstring bin = app.disk->addFolder(L"C:\\", L"$Recycle.Bin");
  const std::wstring binned = app.disk->addFolder(bin, L"S-1");
  app.addContent(windows, L"one.dll", big, 1);
  app.addContent(windows, L"two.dll", big, 1);
  app.addContent(binned, L"$R1.dll", big);
  app.addContent(L"D:\\", L"x.dll", big);
  for (const wchar_t* name : {L"a.txt", L"b.txt", L"c.dll"}) app.addContent(L"D:\\", name, "text");
  for (const wchar_t* name : {L"e1", L"e2"}) app.addContent(L"D:\\", name, "");
  app.addContent(L"D:\\", L"cloudy", "TEXT");
  app.contents->edit(L"D:\\cloudy", [](auto& file) { file.failure = FileFailure::cloud; });
  for (const wchar_t* name : {L"l1", L"l2", L"m1", L"m2", L"m3"}) {
    app.addContent(L"D:\\", name, "TEXT");
    app.contents->edit(joinPath(L"D:\\", name), [name](auto& file) {
      file.failure = name[0] == L'l' ? FileFailure::link : FileFailure::missing;
    });
  }
  app.scanned("C:");
  app.scanned("D:");
  CHECK(runToEnd(app, "/api/dupsacross", "ids=1,2&exts=dll") == expectedDocument("duplicates"));
  CHECK(holds(runToEnd(app, "/api/dupsacross", "ids=1&exts=x"), "d\":false"));
  std::string listing;
  app.disk->onOpen = [&](const std::wstring& folder) {
    if (folder.size() < 4 && folder[0] == L'C') listing = app.get("/api/dupsacross");
  };
  const std::string all = runToEnd(app, "/api/dupsacross", "ids=2,1&min=0");
  CHECK(holds(listing, R"("percent":5,"phase":"listing")"));
  CHECK(holds(all, R"("shown":2,"count":2,"waste":1048584,"capped":false,)"
                   R"("skipped":{"cloud":1,"unreadable":2,"changed":3})"));
  CHECK(all.find("one.dll") < all.find("a.txt"));
  CHECK(holds(all, R"({"s":4,"c":3,"waste":8,"files":[{"p":"D:\\a.txt",)"));

  app.addContent(L"E:\\", L"same.txt", "text");
  app.scanned("E:");
  OpenGate gate(app);
  CHECK(app.post("/api/dupsacross", "ids=1,2,3&min=1") == kStarted);
  gate.waitUntilReached();
  CHECK(app.get("/api/dupsacross") ==
        R"(200 {"running":true,"total":0,"read":0,"files":0,"files_done":0,"percent":0,)"
        R"("phase":"listing","seen":0})");
  CHECK(app.post("/api/dupsacross", "ids=2") == R"(200 {"started":false,"running":true})");
  app.get("/api/forget?id=1");
  app.get("/api/forget?id=3");
  gate.shut = false;
  const std::string left = app.resultOf("/api/dupsacross");
  CHECK(left.starts_with(R"(200 {"groups":[{"s":4,"c":3,"waste":8,"files":[{"p":"D:\\a.txt")"));
  CHECK(numberIn(left, "count") == 1);
  app.get("/api/forget?id=2");
  CHECK(app.get("/api/dupsacross") == R"(200 {"running":false})");
}

TEST_CASE("a result shows the most wasteful groups up to its limits") {
  App app;
  for (int i = 0; i < 4'200; ++i)
    app.addContent(L"C:\\", std::to_wstring(i), std::to_string(i / 2 + 1'000'000));
  app.scanned("C:");
  const std::string groups = runToEnd(app, "/api/dupsacross", "ids=1&min=1");
  CHECK(holds(groups, R"(,"shown":2000,"count":2100,"waste":14700,"capped":true,)"));
  CHECK(groups.starts_with(
      R"(200 {"groups":[{"s":7,"c":2,"waste":7,"files":[{"p":"C:\\0","m":0,"job":1})"));
  CHECK(groups.find(R"("C:\\10")") < groups.find(R"("C:\\100")"));
  for (int i = 0; i < 25'000; ++i) app.addContent(L"E:\\", std::to_wstring(i), "12");
  app.scanned("E:");
  const std::string files = runToEnd(app, "/api/dupsacross", "ids=1,2&min=1");
  CHECK(files.starts_with(R"(200 {"groups":[{"s":2,"c":25000,"waste":49998,)"));
  CHECK(numberIn(files, "shown") == 1);
  CHECK(holds(files, R"("capped":true)"));
  CHECK(holds(files, "19999\""));
}
