#include "support/runs.h"

using namespace vorda;
using namespace vorda::test;

namespace {

void fill(MemoryDisk& disk) {
  const DiskNode& shared = disk.add(L"C:\\r\\a\\one.iso", 60 * kMiB);
  disk.hardLink(L"C:\\r\\b\\two.iso", shared);
  disk.add(L"C:\\r\\a\\sparse.bin", 70 * kMiB).disk = kMiB;
  DiskNode& away = disk.add(L"C:\\r\\a\\away.bin", 80 * kMiB);
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
  for (const char* path : {"/api/result?id=1", "/api/dirs?id=1&p=C:%5Cr", "/api/ext?id=1&e=.iso",
                           "/api/files?id=1&p=C:%5Cr%5Ca", "/api/types?id=1",
                           "/api/result?id=1&more=0", "/api/dirs?id=1&p=C:%5Cr&more="}) {
    CAPTURE(path);
    CHECK(withoutSeconds(app.get(path)) == withoutSeconds(plain.get(path)));
    const std::string more = std::string(path) + "&more=1";
    CHECK(withoutSeconds(plain.get(more)) == withoutSeconds(plain.get(path)));
  }
  CHECK(plain.get("/api/account?id=1") == R"(200 {"rows":[]})");
  CHECK(
      plain.get("/api/file?id=1&p=C:%5Cr%5Ca%5Cone.iso") ==
      R"(200 {"p":"C:\\r\\a\\one.iso","s":62914560,"names":["C:\\r\\a\\one.iso"],"allNames":false})");
  CHECK(
      plain.post("/api/delete", "job=1&more=1&dryrun=1&p=C:%5Cr%5Ca").ends_with(R"("noBin":[]})"));

  CHECK(
      app.get("/api/dirs?id=1&more=1&p=C:%5Cr") ==
      R"(200 {"path":"C:\\r","s":283115620,"f":5,"a":63967232,"x":63967232,"cl":83886080,"dirs":[)"
      R"({"n":"a","s":220200960,"f":3,"a":63963136,"x":1048576,"cl":83886080},)"
      R"({"n":"b","s":62914660,"f":2,"a":4096,"x":4096}],"total":2,"xs":1})");
  CHECK(app.get("/api/files?id=1&more=1&p=C:%5Cr%5Ca") ==
        R"(200 {"path":"C:\\r\\a","files":[)"
        R"({"n":"away.bin","s":83886080,"m":0,"a":0,"x":0,"cl":83886080},)"
        R"({"n":"sparse.bin","s":73400320,"m":0,"a":1048576,"x":1048576},)"
        R"({"n":"one.iso","s":62914560,"m":0,"a":62914560,"x":0}],"total":3,"xs":1,"dirs":0})");
  CHECK(holds(app.get("/api/ext?id=1&e=.iso&more=1"),
              R"("folders":[{"p":"C:\\r\\a","s":62914560,"c":1,"a":62914560},)"));
  CHECK(holds(app.get("/api/ext?id=1&e=.bin&more=1"), R"("c":2,"a":1048576,"cl":83886080}],)"));
  CHECK(app.get("/api/ext?id=1&e=.bin&more=1").ends_with(R"("total":2,"xs":1})"));
  CHECK(app.get("/api/types?id=1&more=1").ends_with(R"("total":3,"xs":1})"));
  CHECK(holds(app.get("/api/types?id=1&more=1"),
              R"({"e":".iso","s":125829120,"c":2,"a":62914560,"x":62914560})"));
  const std::string document = app.get("/api/result?id=1&more=1");
  CHECK(holds(document, R"("xs":1},"tree":{"n":"C:\\r","s":283115620,"f":5,"a":63967232,)"
                        R"("x":63967232,"cl":83886080,"i":0,"c":[)"));
  // What is loose in a folder, and types: .iso files come back only together.
  CHECK(
      holds(document, R"("rk":"smaller","rn":1,"s":62914660,"f":2,"a":4096,"x":4096,"rest":true)"));
  CHECK(holds(document, R"({"e":".iso","s":125829120,"c":2,"a":62914560,"x":62914560})"));
  CHECK(holds(document, R"({"p":"C:\\r\\b\\two.iso","s":62914560,"m":0,"a":62914560,"x":0})"));
}

TEST_CASE("advice says when its files were changed to those who ask") {
  App app;
  app.disk->cluster = 4096;
  app.disk->addFile(app.disk->addFolder(L"C:", L"r"), L"old.iso", 6000 * kMiB,
                    116'444'736'000'000'000 + 50'000); // 5 ms after 1970
  app.scanned("C%3A%5Cr");
  CHECK(holds(app.get("/api/result?id=1&more=1"), R"("pathLock":[""],"pathTimes":[5],"notes")"));
  CHECK(app.get("/api/result?id=1").find("pathTimes") == std::string::npos);
}

TEST_CASE("a dry run promises what comes back, and one of two names frees nothing") {
  App app;
  app.disk->cluster = 4096;
  fill(*app.disk);
  app.disk->volume(L"T:", L"C:\\r"); // so that all forms of a path differ
  app.disk->at(L"C:\\r\\a")->shortName = L"A~1";
  app.disk->at(L"C:\\r\\a\\one.iso")->shortName = L"ONE~1";
  app.scanned("T:%5C");
  const auto promise = [&app](const std::string& paths) {
    const std::string told = app.post("/api/delete", "job=1&more=1&dryrun=1" + paths);
    return told.substr(told.find(R"("noBin":[])") + 11);
  };
  CHECK(promise("&p=T:%5Ca~1") == R"("x":1048576,"xs":1,"shared":62914560})");
  CHECK(promise("&p=T:%5Cb%5Csmall.txt&p=T:%5Ca~1%5Cone~1") ==
        R"("x":4096,"xs":1,"shared":62914560})");
  CHECK(promise("&p=T:%5Ca&p=T:%5Cb%5Ctwo.iso") == R"("x":63963136,"xs":1,"shared":0})");
  // The document is kept until something is deleted.
  const std::string before = app.get("/api/result?id=1&more=1");
  const auto kept = app.state.jobs.find(1)->fullDocument;
  CHECK(app.get("/api/result?id=1&more=1") == before);
  CHECK(app.state.jobs.find(1)->fullDocument == kept);
  // Nothing is promised for what came after the scan, nor where the system does not say.
  app.disk->add(L"C:\\r\\new\\file");
  CHECK(promise("&p=T:%5Cnew&p=T:%5Cnew%5Cfile&p=T:%5Cb%5Csmall.txt") ==
        R"("x":4096,"xs":1,"shared":0})");
  CHECK(app.post("/api/delete", "more=1&dryrun=1&p=T:%5Ca").ends_with(R"("noBin":[]})"));
  CHECK(
      app.get("/api/files?id=1&more=1&p=T:%5Cnew").ends_with(R"("a":4096}],"total":1,"dirs":0})"));
  app.disk->cluster = 0;
  CHECK(promise("&p=T:%5Cb%5Csmall.txt") == R"("x":0,"xs":1,"shared":0})");
  app.disk->cluster = 4096;
  // The space on the drive before and after, of a full one as well, if both are known.
  const auto space = [&app](const char* fields, DriveFigures was, const DriveFigures& is) {
    app.state.steps.driveFigures = [&was, is](const std::wstring&) {
      return std::exchange(was, is);
    };
    const std::string told =
        app.post("/api/delete", std::string("job=1&permanent=1&p=T:%5C") + fields);
    return told.substr(told.find(']', told.find("wouldDelete")));
  };
  CHECK(space("none&more=1", {9, 0, L""}, {9, 5, L""}) == R"(],"freeBefore":0,"freeAfter":5})");
  CHECK(space("none&more=1", {0, 0, L""}, {9, 5, L""}) == "]}");
  CHECK(space("none&more=1", {9, 5, L""}, {0, 0, L""}) == "]}");
  CHECK(space("a%5Cone.iso", {9, 5, L""}, {9, 5, L""}) == "]}");
  app.state.steps.driveFigures = nullptr;
  CHECK(app.post("/api/delete", "job=1&more=1&p=T:%5Cnone").ends_with("]}"));
  CHECK(holds(app.get("/api/result?id=1&more=1"), R"("f":4,"a":63967232,"x":63967232,)"));
  CHECK(holds(app.get("/api/files?id=1&more=1&p=T:%5Cb"),
              R"("n":"two.iso","s":62914560,"m":0,"a":62914560,"x":62914560)"));
  CHECK(holds(app.get("/api/dirs?id=1&more=1&p=T:%5C"),
              R"({"n":"b","s":62914660,"f":2,"a":62918656,"x":62918656})"));
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
  const std::string before = app.get("/api/account?id=1");
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
  app.post("/api/delete", "job=1&p=C:%5Cr%5Ca%5Csparse.bin");
  const std::string binned = app.get("/api/account?id=1");
  CHECK(holds(binned, R"("used":104857600,)"));
  CHECK(holds(binned, R"("code":"bin","bytes":6291456)"));
  app.post("/api/delete", "job=1&permanent=1&p=C:%5Cr%5Ca%5Cone.iso&p=C:%5Cr%5Cb");
  const std::string after = app.get("/api/account?id=1");
  CHECK(holds(after, R"("used":41938944,"source":"drive","unexplained":22016000)"));
  CHECK(holds(after, R"("code":"twice","bytes":0)"));
  VolumeFacts& volume = app.state.jobs.find(1)->result.volume;
  volume.counted = volume.fromBitmap = true;
  volume.cluster = 512;
  CHECK(app.get("/api/account?id=1").find(R"("bitmap","cluster":512)") < after.size());
}

TEST_CASE("what is known of one file, by the scan and by the system") {
  App app;
  app.disk->cluster = 4096;
  fill(*app.disk);
  app.disk->hardLink(L"C:\\r\\a\\two.iso", app.disk->add(L"C:\\r\\b\\one.iso", 55 * kMiB));
  DiskNode& tiny = app.disk->add(L"C:\\r\\a\\tiny", 100);
  tiny.disk = 704; // lies in its record
  app.disk->hardLink(L"C:\\r\\b\\tiny", tiny).attributes = kAttributeRecallOnDataAccess;
  app.disk->at(L"C:\\r\\a\\sparse.bin")->lastWrite = 116'444'736'000'050'000; // 5 ms after 1970
  const auto job = app.scanJob("C%3A%5Cr");
  FileDetails details;
  std::wstring asked;
  app.state.details = [&](const std::wstring& path) {
    asked = path;
    return details;
  };
  // The answer without the path, also as the only name.
  const auto told = [&](const std::string& name, const FileDetails& now) {
    details = now;
    std::string text = app.get("/api/file?id=1&p=C:%5Cr%5C" + name);
    const std::string own = R"("names":[)" + text.substr(9, text.find(',') - 9) + "],";
    if (text.find(own) != std::string::npos) text.erase(text.find(own), own.size());
    return text.substr(text.find(',') + 1);
  };
  const std::string one = R"("s":62914560,"a":62914560,)";
  CHECK(told("a%5Cone.iso", {}) == one + R"("x":0,"links":2,"allNames":false})");
  CHECK(told("b%5Cone.iso", {.modified = 1, .links = 3, .names = {L"x"}}) ==
        R"("s":57671680,"a":57671680,"x":0,"m":1,"links":3,"names":["x"],"allNames":false})");
  CHECK(told("b%5Ctiny", {}) == R"("a":0,"x":0,"cl":100,"links":2,"allNames":false})");
  CHECK(told("a%5Caway.bin", {}) == R"("s":83886080,"a":0,"x":0,"cl":83886080,"allNames":false})");
  CHECK(told("a%5Csparse.bin", {.size = 9, .disk = 8, .created = 2}) ==
        R"("s":73400320,"a":1048576,"x":1048576,"m":5,"created":2,"allNames":false})");
  // Of a small file the scan knows only that it is there.
  constexpr std::uint32_t kCloud = kAttributeRecallOnDataAccess;
  const std::string none = R"("allNames":false})";
  CHECK(told("b%5Csmall.txt", {}) == none);
  CHECK(told("b%5Csmall.txt",
             {.size = 9, .disk = 8, .modified = 1, .accessed = 3, .attributes = kCloud}) ==
        R"("a":8,"x":8,"m":1,"accessed":3,)" + none);
  const auto found = [&](FileDetails now) {
    now.found = true;
    std::string text = told("b%5Csmall.txt", now);
    const std::string_view kept = R"("allNames":false,"cloud":)";
    return holds(text, kept) ? text.erase(text.find(kept), kept.size()) : text;
  };
  CHECK(found({.size = 9, .disk = 8, .links = 2, .tag = 0x9000'001A}) ==
        R"("s":9,"a":8,"x":0,"cl":1,"links":2,"partly","compressed":"no","sparse":false})");
  CHECK(found({.size = 9, .disk = 8, .systemCompressed = true}) ==
        R"("s":9,"a":8,"x":8,"no","compressed":"system","sparse":false})");
  CHECK(found({.size = 9, .disk = 0, .attributes = kCloud | kAttributeSparse}) ==
        R"("s":9,"a":0,"x":0,"cl":9,"only","compressed":"no","sparse":true})");
  CHECK(found({.size = 9, .disk = 9, .attributes = kCloud}) ==
        R"("s":9,"a":9,"x":9,"no","compressed":"no","sparse":false})");
  CHECK(found({.disk = 0, .attributes = kCloud | kAttributeCompressed}) ==
        R"("s":0,"a":0,"x":0,"no","compressed":"ntfs","sparse":false})");
  CHECK(told("b%5Csmall.txt", {.links = 1, .names = {L"y"}, .streams = {{{L"Zone", 26}}}}) ==
        R"("links":1,"names":["y"],"allNames":true,"streams":[{"n":"Zone","s":26}]})");
  CHECK(asked == L"C:\\r\\b\\small.txt");

  // A scan that met all names and the text of one of them; then one is left, and one out of reach.
  LinkTable& links = job->result.links;
  links.complete = true;
  links.names[links.files[0].first + 1].nameAt = links.addText(L"two.iso");
  const std::string two = one + R"("x":0,"links":2,"names":["C:\\r\\b\\two.iso"],"allNames":)";
  CHECK(told("b%5Csmall.txt", {}) == R"("allNames":true})");
  CHECK(told("a%5Cone.iso", {}) == two + "true}");
  links.files[0].stays = true;
  CHECK(told("a%5Cone.iso", {}) == two + "false}");
  links.files[0].count = 1;
  CHECK(told("a%5Cone.iso", {}).starts_with(one + R"("x":0,"links":1,)"));
  const std::string files = app.get("/api/files?id=1&more=1&p=C:%5Cr%5Ca");
  CHECK(files.find(R"("n":"one.iso","s":62914560,"m":0,"a":62914560,"x":0})") < files.size());
  CHECK(files.ends_with(R"("a":0,"x":0}],"total":5,"dirs":0})"));
  links.files[0].stays = false;
  CHECK(told("a%5Cone.iso", {}).starts_with(one + R"("x":62914560,"links":1,)"));
  const std::string small = "job=1&more=1&dryrun=1&p=C:%5Cr%5Cb%5Csmall.txt";
  CHECK(app.post("/api/delete", small).ends_with(R"("x":4096,"shared":0})"));

  asked.clear();
  for (const char* path : {"C:%5Cother%5Cx", "C:%5Cr%5Ca%5C..", "C:%5Cr%5Ca%5C.", "C:%5Cr%5Ca%5C",
                           "C:%5C", "%5C%5Ch%5Cs%5Cx", "x"}) {
    CHECK(app.get(std::string("/api/file?id=1&p=") + path) == R"(404 {"error":"notScanned"})");
  }
  app.scanned("C:%5Cnone"); // fails
  for (const char* query : {"file?id=9&p=x", "file?id=2&p=x", "account?id=2"}) {
    CHECK(app.get(std::string("/api/") + query) == R"(404 {"error":"noJob"})");
  }
  CHECK(app.get("/api/file?id=1").starts_with("400"));
  CHECK(app.get("/api/file?p=x").starts_with("400"));
  job->kind = kSshKind; // its paths are none of this machine
  CHECK(told("b%5Csmall.txt", {.found = true}) == R"("allNames":true})");
  CHECK(asked.empty());
}
