#include "report/csv_report.h"
#include "report/result_document.h"
#include "support/table.h"

using namespace vorda;
using namespace vorda::test;

namespace {

constexpr std::uint64_t kGiB = 1ULL << 30;

void fill(Job& job) {
  TableBuilder builder(L"C:\\");
  builder.file(L"a \"b\"", L"x, \"y\".iso", 2 * kGiB, 951'782'400'000ULL);
  builder.file(L"", L"t.txt", 5);
  for (const wchar_t* folder : {L"b", L"c"}) builder.file(folder, L"x, \"y\".iso", 2 * kGiB);
  builder.bytes(L"$Recycle.Bin", kGiB + 1);
  job.target = L"C:\\";
  job.origin = "local";
  job.result = std::move(builder.summed());
  job.result.seconds = 1.5;
  job.result.unreadableFolders = 3;
  job.result.skippedFolders = 4;
  job.drive = {100, 60, L"Sys\u00E9"};
  job.freed = 7;
  job.binned = 8;
  job.progress.edit([](ProgressTexts& texts) { texts.method = ScanMethod::walk; });
}

} // namespace

TEST_CASE("the result document") {
  Job job;
  fill(job);
  CHECK(buildResultDocument(job, kDocumentOptions, 0) ==
        R"({"meta":{"path":"C:\\","method":"walk","host":"local","kind":"drive","seconds":1.5,)"
        R"("files":4,"dirs":5,"denied":3,"skipped":4,"used":6442450949,"bigFileBytes":6442450949,)"
        R"("volumeSize":100,"volumeFree":60,"volumeLabel":"Sysé","freed":7,"binned":8},)"
        R"("tree":{"n":"C:\\","s":7516192774,"f":5,"i":0,"c":[)"
        R"({"n":"a \"b\"","s":2147483648,"f":1,"i":1},{"n":"b","s":2147483648,"f":1,"i":2},)"
        R"({"n":"c","s":2147483648,"f":1,"i":3},{"n":"$Recycle.Bin","s":1073741825,"f":1,"i":4},)"
        R"({"n":"","rk":"loose","s":5,"f":1,"rest":true}]},)"
        R"("exts":[{"e":".iso","s":6442450944,"c":3},{"e":".txt","s":5,"c":1}],)"
        R"("files":[{"p":"C:\\a \"b\"\\x, \"y\".iso","s":2147483648,"m":951782400000},)"
        R"({"p":"C:\\b\\x, \"y\".iso","s":2147483648,"m":0},)"
        R"({"p":"C:\\c\\x, \"y\".iso","s":2147483648,"m":0},{"p":"C:\\t.txt","s":5,"m":0}],)"
        R"("advice":[{"code":"duplicates","level":"serious","bytes":4294967296,"n1":1,"n2":2,)"
        R"("target":"","paths":["C:\\a \"b\"\\x, \"y\".iso","C:\\b\\x, \"y\".iso",)"
        R"("C:\\c\\x, \"y\".iso"],"pathBytes":[2147483648,2147483648,2147483648],)"
        R"("pathFiles":[1,1,1],"pathGroup":[1,1,1],"pathLock":["","",""],)"
        R"("notes":["3x  x, \"y\".iso  -  2,0 GB"]},)"
        R"({"code":"recyclebin","level":"warning","bytes":1073741825,"n1":1,"n2":1,)"
        R"("target":"C:\\$Recycle.Bin","paths":["C:\\$Recycle.Bin"],"pathBytes":[1073741825],)"
        R"("pathFiles":[1],"pathGroup":[0],"pathLock":["recyclebin"],"notes":[]}]})");
  const std::string few = buildResultDocument(job, {.maxFiles = 2, .maxTypes = 1}, 0);
  CHECK(few.find(R"("exts":[{"e":".iso","s":6442450944,"c":3}],)") < few.size());
  CHECK(few.find(R"("C:\\b\\x, \"y\".iso","s":2147483648,"m":0}],"advice")") < few.size());
  const std::string none = buildResultDocument(job, {0, 0, 0, -1, -1}, 0);
  CHECK(none.find(R"("i":0},"exts":[],"files":[],"advice":[{)") != std::string::npos);
  Job empty;
  CHECK(buildResultDocument(empty, kDocumentOptions, 0)
            .ends_with(R"("tree":null,"exts":[],"files":[],"advice":[]})"));
}

TEST_CASE("the three kinds of CSV") {
  Job job;
  fill(job);
  const auto csv = [&job](const char* kind) {
    return buildCsvReport(job, csvKindOf(kind).value(), {2026, 1, 2, 3, 4, 5}, 0);
  };
  const std::string head = "\xEF\xBB\xBF# Vorda  C:\\  on   scanned 2026-01-02 03:04\r\n";
  CHECK_FALSE(csvKindOf("file"));
  CHECK(csv("files") == head + "path,bytes,modified\r\n"
                               "\"C:\\a \"\"b\"\"\\x, \"\"y\"\".iso\",2147483648,2000-02-29\r\n"
                               "\"C:\\b\\x, \"\"y\"\".iso\",2147483648,\r\n"
                               "\"C:\\c\\x, \"\"y\"\".iso\",2147483648,\r\n"
                               "\"C:\\t.txt\",5,\r\n");
  CHECK(csv("types") ==
        head + "extension,bytes,files\r\n\".iso\",6442450944,3\r\n\".txt\",5,1\r\n");
  CHECK(csv("advice") ==
        head + "finding,level,bytes,paths\r\n"
               "\"duplicates\",\"serious\",4294967296,\"C:\\a \"\"b\"\"\\x, \"\"y\"\".iso | "
               "C:\\b\\x, \"\"y\"\".iso | C:\\c\\x, \"\"y\"\".iso\"\r\n"
               "\"recyclebin\",\"warning\",1073741825,\"C:\\$Recycle.Bin\"\r\n");
  job.origin = "me@nas";
  CHECK(csv("files").find("  on me@nas  scanned ") != std::string::npos);
}
