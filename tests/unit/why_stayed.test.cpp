#include "fileops/why_stayed.h"
#include "support/app.h"

using namespace vorda;
using namespace vorda::test;

TEST_CASE("what stays is named with its reason, if that is asked for") {
  App app;
  app.disk->add(L"C:\\r\\b\\x");
  app.disk->add(L"C:\\r\\locked\\in\\use.bin", 7).locked = true;
  app.disk->add(L"C:\\r\\locked\\own\\x.bin", 7).locked = true;
  app.disk->denied = {L"C:\\r\\locked\\own"};
  app.scanned("C:%5Cr");
  const std::string both = "p=C:%5Cr%5Clocked&p=C:%5Cr%5Cb&job=1&permanent=1";
  const std::string none = app.post("/api/delete", "p=C:%5Cr%5Clocked&job=1&permanent=1");
  CHECK(none.ends_with(R"("wouldDelete":["C:\\r\\locked"]})"));
  app.disk->logFails = true;
  CHECK(app.post("/api/delete", both).ends_with(R"(\\b"],"logged":false})"));
  app.disk->logFails = false;
  const std::string told = app.post("/api/delete", both + "&why=1");
  CHECK(holds(told, R"("stayed":[{"p":"C:\\r\\locked\\own","why":"norights"},)"
                    R"({"p":"C:\\r\\locked\\in\\use.bin","why":"inuse"}]})"));

  // A single file; one with no reason that could be found; and never more than 20 for one folder.
  app.disk->at(L"C:\\r\\locked\\in\\use.bin")->locked = false;
  app.disk->mayDelete = [](const std::wstring&) { return false; };
  CHECK(holds(app.post("/api/delete", "p=C:%5Cr%5Clocked%5Cin%5Cuse.bin&job=1&why=1"),
              R"("stayed":[{"p":"C:\\r\\locked\\in\\use.bin","why":"inuse"}]})"));
  for (int i = 0; i < 300; ++i) {
    app.disk->add(L"C:\\r\\many\\" + std::to_wstring(i)).locked = true;
  }
  CHECK(countOf(app.post("/api/delete", "p=C:%5Cr%5Cmany&why=1"), "inuse") == 20);
}

TEST_CASE("why something stayed: what says it best, and no more than is asked") {
  MemoryDisk disk;
  disk.add(L"C:\\file");
  disk.add(L"C:\\locked").locked = true;
  disk.add(L"C:\\sealed\\x").locked = true;
  disk.unreadable = {L"C:\\sealed\\hidden", L"C:\\closed"};
  disk.add(L"C:\\sealed\\hidden\\x").locked = true;
  disk.add(L"C:\\closed\\x").locked = true;
  disk.add(L"C:\\odd\\in.\\deep\\x").locked = true;
  disk.link(L"C:\\linked\\link", L"C:\\sealed");
  disk.link(L"C:\\link", L"C:\\sealed");
  const std::wstring far = L"C:\\" + std::wstring(260, L'x');
  disk.add(far);
  disk.add(far + L"held").locked = true;
  struct Row {
    std::wstring path;
    bool folder;
    int shellCode;
    std::wstring named;
    const char* why;
  };
  const std::vector<Row> rows = {{L"C:\\file", false, 0, L"C:\\file", "unknown"},
                                 {L"C:\\file", false, 0x79, L"C:\\file", "toolong"},
                                 {L"C:\\file", false, 0x78, L"C:\\file", "norights"},
                                 {L"C:\\locked", false, 0x79, L"C:\\locked", "inuse"},
                                 {far, false, 32, far, "toolong"},
                                 {far + L"held", false, 0, far + L"held", "inuse"},
                                 {L"C:\\none" + far, false, 33, L"C:\\none" + far, "toolong"},
                                 {L"C:\\sealed", true, 0, L"C:\\sealed\\x", "inuse"},
                                 {L"C:\\closed", true, 0, L"C:\\closed", "unknown"},
                                 {L"C:\\odd", true, 0, L"C:\\odd\\in.\\deep\\x", "inuse"},
                                 {L"C:\\linked", true, 0, L"C:\\linked", "unknown"},
                                 {L"C:\\link", false, 0x78, L"C:\\link", "norights"}};
  std::vector<StayedPath> stayed;
  for (const Row& row : rows) {
    CAPTURE(toUtf8(row.path));
    addStayed(disk, disk, row.path, row.folder, row.shellCode, stayed);
    CHECK(stayed.back().path == row.named);
    CHECK(wordOf(stayed.back().why) == row.why);
  }
  CHECK(stayed.size() == rows.size());
  while (stayed.size() < kMostStayed) addStayed(disk, disk, L"C:\\file", false, 0, stayed);
  addStayed(disk, disk, L"C:\\locked", false, 0, stayed);
  CHECK(stayed.size() == kMostStayed);

  // The last of 5000 looks finds something, one more is not taken.
  for (int i = 0; i < 50; ++i) disk.addFolder(L"C:\\big", std::to_wstring(i));
  for (int i = 0; i < 50; ++i) {
    for (int k = 0; k < 99; ++k) {
      disk.addFile(L"C:\\big\\" + std::to_wstring(i), std::to_wstring(k), 1);
    }
  }
  disk.at(L"C:\\big\\0\\98")->locked = true;
  for (const wchar_t* named : {L"C:\\big\\0\\98", L"C:\\big"}) {
    stayed.clear();
    addStayed(disk, disk, L"C:\\big", true, 0, stayed);
    REQUIRE(stayed.size() == 1);
    CHECK(stayed[0].path == named);
    disk.add(L"C:\\big\\more");
  }
}
