#include "support/runs.h"

#include <doctest/doctest.h>

using namespace vorda;
using test::App;
using test::MemoryDisk;

namespace {

constexpr std::uint64_t kMiB = 1ULL << 20;

void fill(MemoryDisk& disk) {
  const test::DiskNode& shared = disk.add(L"C:\\r\\a\\one.iso", 60 * kMiB);
  disk.hardLink(L"C:\\r\\b\\two.iso", shared);
  disk.add(L"C:\\r\\a\\sparse.bin", 70 * kMiB).disk = kMiB;
  test::DiskNode& away = disk.add(L"C:\\r\\a\\away.bin", 80 * kMiB);
  away.disk = 0;
  away.attributes = kAttributeRecallOnDataAccess;
  disk.add(L"C:\\r\\b\\small.txt", 100);
}

} // namespace

TEST_CASE("bytes on disk are told only to those who ask") {
  App plain;
  fill(*plain.disk);
  plain.scanned("C%3A%5Cr");
  App app;
  app.disk->cluster = 4096;
  fill(*app.disk);
  app.scanned("C%3A%5Cr");
  const auto withoutSeconds = [](std::string text) {
    const std::size_t at = text.find("\"seconds\"");
    if (at != std::string::npos) text.erase(at, text.find(',', at) - at);
    return text;
  };
  for (const char* path :
       {"/api/result?id=1", "/api/dirs?id=1&p=C:%5Cr", "/api/ext?id=1&e=.iso",
        "/api/files?p=C:%5Cr%5Ca", "/api/result?id=1&more=0", "/api/dirs?id=1&p=C:%5Cr&more="}) {
    CAPTURE(path);
    CHECK(withoutSeconds(app.told("GET", path)) == withoutSeconds(plain.told("GET", path)));
    // A scan that does not know them says nothing either.
    const std::string more = std::string(path) + "&more=1";
    CHECK(withoutSeconds(plain.told("GET", more)) == withoutSeconds(plain.told("GET", path)));
  }
  CHECK(plain.told("GET", "/api/account?id=1") == R"(200 {"rows":[]})");

  CHECK(
      app.told("GET", "/api/dirs?id=1&more=1&p=C:%5Cr") ==
      R"(200 {"path":"C:\\r","s":283115620,"f":5,"a":63967232,"x":63967232,"cl":83886080,"dirs":[)"
      R"({"n":"a","s":220200960,"f":3,"a":63963136,"x":1048576,"cl":83886080},)"
      R"({"n":"b","s":62914660,"f":2,"a":4096,"x":4096}],"total":2,"xs":1})");
  CHECK(app.told("GET", "/api/files?id=1&more=1&p=C:%5Cr%5Ca") ==
        R"(200 {"path":"C:\\r\\a","files":[)"
        R"({"n":"away.bin","s":83886080,"m":0,"a":0,"x":0,"cl":83886080},)"
        R"({"n":"sparse.bin","s":73400320,"m":0,"a":1048576,"x":1048576},)"
        R"({"n":"one.iso","s":62914560,"m":0,"a":62914560,"x":0}],"total":3,"xs":1,"dirs":0})");
  CHECK(app.told("GET", "/api/ext?id=1&e=.iso&more=1")
            .find(R"("folders":[{"p":"C:\\r\\a","s":62914560,"c":1,"a":62914560},)") !=
        std::string::npos);
  CHECK(app.told("GET", "/api/types?id=1&more=1")
            .find(R"({"e":".iso","s":125829120,"c":2,"a":62914560,"x":62914560})") !=
        std::string::npos);
  const std::string document = app.told("GET", "/api/result?id=1&more=1");
  CHECK(document.find(R"("xs":1},"tree":{"n":"C:\\r","s":283115620,"f":5,"a":63967232,)"
                      R"("x":63967232,"cl":83886080,"i":0,"c":[)") != std::string::npos);
  // What is loose in a folder, and types: .iso files come back only together.
  CHECK(
      document.find(R"("rk":"smaller","rn":1,"s":62914660,"f":2,"a":4096,"x":4096,"rest":true)") !=
      std::string::npos);
  CHECK(document.find(R"({"e":".iso","s":125829120,"c":2,"a":62914560,"x":62914560})") !=
        std::string::npos);
  CHECK(document.find(R"({"p":"C:\\r\\b\\two.iso","s":62914560,"m":0,"a":62914560,"x":0})") !=
        std::string::npos);
}

TEST_CASE("advice says when its files were changed to those who ask") {
  App app;
  app.disk->cluster = 4096;
  app.disk->addFile(app.disk->addFolder(L"C:", L"r"), L"old.iso", 6000 * kMiB,
                    116'444'736'000'000'000 + 50'000); // 5 ms after 1970
  app.scanned("C%3A%5Cr");
  CHECK(app.told("GET", "/api/result?id=1&more=1")
            .find(R"("pathLock":[""],"pathTimes":[5],"notes")") != std::string::npos);
  CHECK(app.told("GET", "/api/result?id=1").find("pathTimes") == std::string::npos);
}

TEST_CASE("a dry run promises what comes back, and one of two names frees nothing") {
  App app;
  app.disk->cluster = 4096;
  fill(*app.disk);
  app.scanned("C%3A%5Cr");
  const auto promise = [&app](const std::string& paths) {
    const std::string told = app.told("POST", "/api/delete", "job=1&more=1&dryrun=1" + paths);
    return told.substr(told.find(R"("noBin":[])") + 11);
  };
  CHECK(promise("&p=C:%5Cr%5Ca") == R"("x":1048576,"xs":1,"shared":62914560})");
  CHECK(promise("&p=C:%5Cr%5Cb%5Csmall.txt&p=C:%5Cr%5Cb%5Ctwo.iso") ==
        R"("x":4096,"xs":1,"shared":62914560})");
  CHECK(promise("&p=C:%5Cr%5Ca&p=C:%5Cr%5Cb%5Ctwo.iso") == R"("x":63963136,"xs":1,"shared":0})");
  // The document is kept until something is deleted.
  const std::string before = app.told("GET", "/api/result?id=1&more=1");
  const auto kept = app.state.jobs.find(1)->fullDocument;
  CHECK(app.told("GET", "/api/result?id=1&more=1") == before);
  CHECK(app.state.jobs.find(1)->fullDocument == kept);
  std::uint64_t free = 5000;
  app.state.steps.driveFigures = [&free](const std::wstring&) {
    return DriveFigures{10'000, free -= 100, L""};
  };
  const std::string told =
      app.told("POST", "/api/delete", "job=1&more=1&permanent=1&p=C:%5Cr%5Ca%5Cone.iso");
  CHECK(told.ends_with(R"("freeBefore":4900,"freeAfter":4800})"));
  CHECK(app.told("GET", "/api/result?id=1&more=1").find(R"("f":4,"a":63967232,"x":63967232,)") !=
        std::string::npos);
  CHECK(app.told("GET", "/api/files?id=1&more=1&p=C:%5Cr%5Cb")
            .find(R"("n":"two.iso","s":62914560,"m":0,"a":62914560,"x":62914560)") !=
        std::string::npos);
  CHECK(app.told("GET", "/api/dirs?id=1&more=1&p=C:%5Cr")
            .find(R"({"n":"b","s":62914660,"f":2,"a":62918656,"x":62918656})") !=
        std::string::npos);
}

TEST_CASE("the account of a walked drive follows deletions") {
  App app;
  app.disk->cluster = 4096;
  fill(*app.disk);
  app.disk->add(L"C:\\pagefile.sys", 8 * kMiB);
  app.disk->add(L"C:\\$Recycle.Bin\\S-1\\$Rold.txt", 5 * kMiB);
  app.disk->add(L"C:\\System Volume Information\\Dedup\\chunk", 3 * kMiB);
  app.state.steps.driveFigures = [](const std::wstring&) {
    return DriveFigures{1000 * kMiB, 900 * kMiB, L""};
  };
  app.state.steps.driveReserves = [](const std::wstring& root, bool shadow) {
    CHECK(root == L"C:\\");
    CHECK(shadow);
    return DriveReserves{2 * kMiB, std::nullopt};
  };
  app.scanned("C%3A%5C");
  const std::string before = app.told("GET", "/api/account?id=1");
  CHECK(
      before ==
      R"(200 {"used":104857600,"source":"drive","unexplained":22016000,"rows":[)"
      R"({"code":"files","bytes":67112960,"exact":true},)"
      R"({"code":"shadow","bytes":2097152,"exact":false,"p":"C:\\System Volume Information"},)"
      R"({"code":"reserved","told":false},)"
      R"({"code":"paging","bytes":8388608,"exact":true,"parts":[{"n":"pagefile.sys","bytes":8388608}]},)"
      R"({"code":"bin","bytes":5242880,"exact":true,"p":"C:\\$Recycle.Bin"},)"
      R"({"code":"unreadable","count":0},)"
      R"({"code":"cloud","bytes":83886080,"exact":true,"info":true},)"
      R"({"code":"twice","bytes":62914560,"exact":true,"count":1,"info":true},)"
      R"({"code":"unlisted","bytes":0,"exact":true,"count":0,"info":true}]})");
  app.told("POST", "/api/delete", "job=1&p=C:%5Cr%5Ca%5Csparse.bin");
  const std::string binned = app.told("GET", "/api/account?id=1");
  CHECK(binned.find(R"("used":104857600,)") != std::string::npos);
  CHECK(binned.find(R"("code":"bin","bytes":6291456)") != std::string::npos);
  app.told("POST", "/api/delete", "job=1&permanent=1&p=C:%5Cr%5Ca%5Cone.iso&p=C:%5Cr%5Cb");
  const std::string after = app.told("GET", "/api/account?id=1");
  CHECK(after.find(R"("used":41938944,"source":"drive","unexplained":22016000)") !=
        std::string::npos);
  CHECK(after.find(R"("code":"twice","bytes":0)") != std::string::npos);
}

TEST_CASE("what is known of one file") {
  App app;
  app.disk->cluster = 4096;
  fill(*app.disk);
  app.scanned("C%3A%5Cr");
  CHECK(app.told("GET", "/api/file?id=1&p=C:%5Cr%5Ca%5Cone.iso") ==
        R"(200 {"p":"C:\\r\\a\\one.iso","s":62914560,"a":62914560,"x":0,"links":2,)"
        R"("names":["C:\\r\\a\\one.iso"],"allNames":false})");
  FileDetails details;
  details.found = true;
  details.size = 80 * kMiB;
  details.disk = kMiB;
  details.modified = 1;
  details.links = 1;
  details.names = {L"C:\\r\\b\\small.txt"};
  details.streams = {{L"Zone", 26}};
  details.attributes = kAttributeRecallOnDataAccess | kAttributeSparse;
  details.systemCompressed = true;
  std::wstring asked;
  app.state.details = [&](const std::wstring& path) {
    asked = path;
    return details;
  };
  CHECK(
      app.told("GET", "/api/file?id=1&p=C:%5Cr%5Cb%5Csmall.txt") ==
      R"(200 {"p":"C:\\r\\b\\small.txt","s":83886080,"a":1048576,"x":1048576,"cl":82837504,"m":1,)"
      R"("links":1,"names":["C:\\r\\b\\small.txt"],"allNames":true,)"
      R"("streams":[{"n":"Zone","s":26}],"cloud":"partly","compressed":"system","sparse":true})");
  CHECK(asked == L"C:\\r\\b\\small.txt");
  asked.clear();
  for (const char* path : {"C:%5Cother%5Cx", "C:%5Cr%5Ca%5C..", "C:%5C", "%5C%5Ch%5Cs%5Cx", "x"}) {
    CHECK(app.told("GET", std::string("/api/file?id=1&p=") + path) ==
          R"(404 {"error":"notScanned"})");
  }
  CHECK(app.told("GET", "/api/file?id=9&p=x") == R"(404 {"error":"noJob"})");
  CHECK(asked.empty());
}
