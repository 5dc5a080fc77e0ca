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
  CHECK(
      buildResultDocument(job, kDocumentOptions, 0) ==
      R"({"meta":{"path":"C:\\","method":"walk","host":"local","kind":"drive","seconds":1.5,)"
      R"("files":2,"dirs":3,"denied":3,"skipped":4,"used":2147483653,"bigFileBytes":2147483653,)"
      R"("volumeSize":100,"volumeFree":60,"volumeLabel":"Sysé","freed":7,"binned":8},)"
      R"("tree":{"n":"C:\\","s":3221225478,"f":3,"i":0,"c":[)"
      R"({"n":"a \"b\"","s":2147483648,"f":1,"i":1},{"n":"$Recycle.Bin","s":1073741825,"f":1,"i":2},)"
      R"({"n":"","rk":"loose","s":5,"f":1,"rest":true}]},)"
      R"("exts":[{"e":".iso","s":2147483648,"c":1},{"e":".txt","s":5,"c":1}],)"
      R"("files":[{"p":"C:\\a \"b\"\\x, \"y\".iso","s":2147483648,"m":951782400000},)"
      R"({"p":"C:\\t.txt","s":5,"m":0}],)"
      R"("advice":[{"code":"recyclebin","level":"warning","bytes":1073741825,"n1":1,"n2":1,)"
      R"("target":"C:\\$Recycle.Bin","paths":["C:\\$Recycle.Bin"],"pathBytes":[1073741825],)"
      R"("pathFiles":[1],"pathGroup":[0],"pathLock":["recyclebin"],"notes":[]}]})");
  const std::string none = buildResultDocument(job, {0, 0, 0, 0, 0}, 0);
  CHECK(none.find(R"("i":0},"exts":[],"files":[],"advice":[{)") != std::string::npos);
  Job empty;
  CHECK(buildResultDocument(empty, kDocumentOptions, 0)
            .ends_with(R"("tree":null,"exts":[],"files":[],"advice":[]})"));
}

TEST_CASE("possible duplicates in the document and in the CSV") {
  Job job;
  TableBuilder builder(L"C:\\");
  for (const wchar_t* folder : {L"a", L"b", L"c"}) builder.file(folder, L"same.iso", 2 * kGiB);
  builder.file(L"a", L"one.zip", 5);
  builder.file(L"a", L"two.txt", 4);
  job.result = std::move(builder.summed());
  const std::string document = buildResultDocument(job, {.maxFiles = 2, .maxTypes = 1}, 0);
  CHECK(document.substr(document.find("\"exts\"")) ==
        R"("exts":[{"e":".iso","s":6442450944,"c":3}],)"
        R"("files":[{"p":"C:\\a\\same.iso","s":2147483648,"m":0},)"
        R"({"p":"C:\\b\\same.iso","s":2147483648,"m":0}],)"
        R"("advice":[{"code":"duplicates","level":"serious","bytes":4294967296,"n1":1,"n2":2,)"
        R"("target":"","paths":["C:\\a\\same.iso","C:\\b\\same.iso","C:\\c\\same.iso"],)"
        R"("pathBytes":[2147483648,2147483648,2147483648],"pathFiles":[1,1,1],)"
        R"("pathGroup":[1,1,1],"pathLock":["","",""],"notes":["3x  same.iso  -  2,0 GB"]}]})");
  const std::string none = buildResultDocument(job, {.maxFiles = -1, .maxTypes = -1}, 0);
  CHECK(none.find(R"("exts":[],"files":[],)") != std::string::npos);
  CHECK(buildCsvReport(job, CsvKind::advice, {2026, 1, 2, 3, 4, 5}, 0)
            .ends_with("\"duplicates\",\"serious\",4294967296,"
                       "\"C:\\a\\same.iso | C:\\b\\same.iso | C:\\c\\same.iso\"\r\n"));
}

TEST_CASE("the three kinds of CSV") {
  Job job;
  fill(job);
  const LocalTime at = {2026, 1, 2, 3, 4, 5};
  const std::string head = "\xEF\xBB\xBF# Vorda  C:\\  on   scanned 2026-01-02 03:04\r\n";
  CHECK(csvKindOf("files") == CsvKind::files);
  CHECK(csvKindOf("types") == CsvKind::types);
  CHECK(csvKindOf("advice") == CsvKind::advice);
  CHECK_FALSE(csvKindOf("file"));
  CHECK(buildCsvReport(job, CsvKind::files, at, 0) ==
        head + "path,bytes,modified\r\n"
               "\"C:\\a \"\"b\"\"\\x, \"\"y\"\".iso\",2147483648,2000-02-29\r\n"
               "\"C:\\t.txt\",5,\r\n");
  CHECK(buildCsvReport(job, CsvKind::types, at, 0) ==
        head + "extension,bytes,files\r\n\".iso\",2147483648,1\r\n\".txt\",5,1\r\n");
  CHECK(buildCsvReport(job, CsvKind::advice, at, 0) ==
        head + "finding,level,bytes,paths\r\n"
               "\"recyclebin\",\"warning\",1073741825,\"C:\\$Recycle.Bin\"\r\n");
  job.origin = "me@nas";
  CHECK(buildCsvReport(job, CsvKind::files, at, 0).find("  on me@nas  scanned ") !=
        std::string::npos);
}
