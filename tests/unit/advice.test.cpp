#include "base/text.h"
#include "support/table.h"
#include "tree/advice.h"

using namespace vorda;
using namespace vorda::test;

namespace {

constexpr std::uint64_t kMiB = 1ULL << 20;
constexpr std::uint64_t kGiB = 1ULL << 30;
constexpr std::uint64_t kNow = 1'800'000'000'000ULL;
constexpr std::uint64_t kYear = 31'536'000'000ULL;

std::vector<Finding> advice(TableBuilder& builder) { return buildAdvice(builder.summed(), kNow); }

// "code level bytes count fileCount target" of each finding, and its items.
std::string told(TableBuilder& builder) {
  std::string text;
  for (const Finding& finding : advice(builder)) {
    text += finding.code + " " + finding.level + " " + std::to_string(finding.bytes) + " " +
            std::to_string(finding.count) + " " + std::to_string(finding.fileCount) + " " +
            toUtf8(finding.target) + "\n";
    for (const FindingItem& item : finding.items) {
      text += "  " + toUtf8(item.path) + " " + std::to_string(item.bytes) + " " +
              std::to_string(item.files) + " " + std::to_string(item.group) + "\n";
    }
    for (const std::string& note : finding.notes) text += "  # " + note + "\n";
  }
  return text;
}

} // namespace

TEST_CASE("folder rules: only above the limit and only in the right place") {
  struct Row {
    std::wstring root, folder;
    std::uint64_t limit;
    std::string code;
  };
  for (const Row& row :
       std::vector<Row>{{L"C:\\", L"$Recycle.Bin", kGiB, "recyclebin"},
                        {L"C:\\", L"Windows\\Temp", kGiB, "tempfiles"},
                        {L"C:\\", L"old\\windows\\TEMP", kGiB, "tempfiles"},
                        {L"C:\\Users\\anna", L"AppData\\Local\\Temp", kGiB, "tempfiles"},
                        {L"C:\\Users\\anna\\AppData", L"Local\\Temp", kGiB, "tempfiles"},
                        {L"C:\\", L"x\\SoftwareDistribution\\Download", kGiB, "updates"},
                        {L"C:\\", L"Users\\anna\\Downloads", 20 * kGiB, "downloads"},
                        {L"C:\\Users\\anna", L"Downloads", 20 * kGiB, "downloads"},
                        {L"D:\\b\\Users", L"anna\\Downloads", 20 * kGiB, "downloads"},
                        {L"C:\\Windows", L"Installer", 5 * kGiB, "installer"},
                        {L"C:\\", L"project\\Node_Modules", 2 * kGiB, "caches"}}) {
    CAPTURE(toUtf8(row.root + L" " + row.folder));
    TableBuilder exact(row.root);
    exact.bytes(row.folder, row.limit);
    CHECK(told(exact).empty());
    TableBuilder more(row.root);
    more.bytes(row.folder + L"\\deep", row.limit + 1);
    const auto findings = advice(more);
    REQUIRE(findings.size() == 1);
    CHECK(findings[0].code == row.code);
    CHECK(findings[0].bytes == row.limit + 1);
    CHECK(findings[0].fileCount == 1);
    const bool named = row.code == "caches";
    CHECK((named ? findings[0].items[0].path : findings[0].target) ==
          joinPath(row.root, row.folder));
  }
  for (const auto& [root, folder] : std::vector<std::pair<std::wstring, std::wstring>>{
           {L"C:\\", L"Temp"},
           {L"C:\\", L"Downloads"},
           {L"C:\\", L"Users\\anna\\x\\Downloads"},
           {L"C:\\", L"Download"},
           {L"C:\\$Recycle.Bin", L"S-1"}, // the root gives no finding
           {L"C:\\Users\\anna\\Downloads", L"x"}}) {
    TableBuilder elsewhere(root);
    elsewhere.bytes(folder, 40 * kGiB);
    CHECK(told(elsewhere).empty());
  }
}

TEST_CASE("several matching folders: largest, first, sum or outermost") {
  TableBuilder builder(L"C:\\");
  builder.bytes(L"Users\\a\\Downloads", 15 * kGiB);
  builder.bytes(L"Users\\b\\Downloads", 15 * kGiB);
  builder.bytes(L"$RECYCLE.BIN", kGiB);
  builder.bytes(L"x\\$Recycle.Bin", kGiB + 5);
  builder.bytes(L"Windows\\Temp", 600 * kMiB);
  builder.bytes(L"Users\\a\\AppData\\Local\\Temp", 700 * kMiB);
  for (int i = 0; i < 10; ++i) {
    builder.bytes(L"Users\\t" + std::to_wstring(i) + L"\\AppData\\Local\\Temp", kMiB);
  }
  builder.bytes(L"p\\node_modules\\q\\node_modules", 900 * kMiB);
  builder.bytes(L"p\\node_modules", 600 * kMiB);
  builder.bytes(L"p2\\Cache", 499 * kMiB);
  builder.bytes(L"p3\\Cache", 550 * kMiB);
  const auto findings = advice(builder);
  REQUIRE(findings.size() == 3);
  CHECK(findings[0].code == "caches");
  CHECK(findings[0].bytes == 2050 * kMiB);
  REQUIRE(findings[0].items.size() == 2);
  CHECK(findings[0].items[0].path == L"C:\\p\\node_modules");
  CHECK(findings[0].items[0].files == 2);
  CHECK(findings[1].code == "tempfiles");
  CHECK(findings[1].bytes == 1310 * kMiB);
  CHECK(findings[1].target == L"C:\\Users\\a\\AppData\\Local\\Temp");
  CHECK(findings[1].items.size() == 8);
  CHECK(findings[1].count == 8);
  CHECK(findings[1].fileCount == 12);
  CHECK(findings[2].code == "recyclebin");
  CHECK(findings[2].bytes == kGiB + 5);
}

TEST_CASE("every kind of cache is found by its name") {
  TableBuilder builder(L"C:\\");
  for (const wchar_t* name :
       {L"NODE_MODULES", L"cache", L"gpucache", L"cachestorage", L"code cache", L"__PYCACHE__",
        L"deriveddata", L"intermediate", L".Gradle", L".NuGet", L"crashpad"}) {
    builder.bytes(std::wstring(L"a\\") + name, kGiB);
  }
  CHECK(advice(builder)[0].bytes == 11 * kGiB);
}

TEST_CASE("system files count only in the scanned root") {
  TableBuilder builder(L"C:\\");
  builder.file(L"", L"PageFile.sys", 8 * kGiB);
  builder.file(L"", L"hiberfil.sys", 2 * kGiB + 1);
  builder.file(L"sub", L"swapfile.sys", 40 * kGiB);
  CHECK(told(builder) == "sysfiles good 10737418241 2 2 \n"
                         "  # C:\\PageFile.sys  -  8,0 GB\n"
                         "  # C:\\hiberfil.sys  -  2,0 GB\n");
}

TEST_CASE("old files: known time, older than a year, outside protected folders") {
  TableBuilder builder(L"C:\\data");
  builder.file(L"a", L"old.iso", 3 * kGiB, kNow - kYear - 1);
  builder.file(L"b", L"older.iso", 4 * kGiB, 1);
  builder.file(L"b", L"edge.iso", 50 * kGiB, kNow - kYear);
  builder.file(L"b", L"future.iso", 51 * kGiB, kNow + 1);
  builder.file(L"b", L"unknown.iso", 52 * kGiB, 0);
  builder.file(L"SteamLibrary\\x", L"game", 53 * kGiB, 1);
  CHECK(told(builder) == "oldfiles serious 7516192768 2 2 C:\\data\\b\n"
                         "  C:\\data\\b\\older.iso 4294967296 1 0\n"
                         "  C:\\data\\a\\old.iso 3221225472 1 0\n");
  for (int i = 0; i < 30; ++i) builder.file(L"c", L"f" + std::to_wstring(i), kGiB, 5);
  CHECK(advice(builder)[0].items.size() == 25);
  CHECK(advice(builder)[0].count == 32);
  // If the scanned root is inside a protected folder, so is everything below it.
  TableBuilder inside(L"C:\\Program Files\\x");
  inside.file(L"", L"big", 60 * kGiB, 1);
  inside.file(L"y", L"big", 60 * kGiB, 1);
  CHECK(told(inside).empty());
  for (const wchar_t* name :
       {L"program files", L"PROGRAM FILES (X86)", L"windows", L"programdata", L"SteamApps",
        L"steamlibrary", L"epic games", L"gog games", L"BATTLE.NET", L"windowsapps", L"riot games",
        L"ea games", L"ubisoft"}) {
    CAPTURE(toUtf8(name));
    TableBuilder games(L"D:\\");
    games.file(std::wstring(L"a\\") + name + L"\\b\\c", L"old.iso", 4 * kGiB, 1);
    CHECK(told(games).empty());
  }
}

TEST_CASE("duplicates: same name and size, sorted by wasted bytes") {
  TableBuilder builder(L"C:\\");
  builder.file(L"a", L"x.iso", 3 * kGiB);
  CHECK(told(builder).empty());
  builder.file(L"b", L"X.ISO", 3 * kGiB);
  builder.file(L"b", L"x.isos", 3 * kGiB);
  builder.file(L"Windows\\c", L"x.iso", 3 * kGiB);
  for (const wchar_t* folder : {L"m", L"n", L"l"}) builder.file(folder, L"y", 2 * kGiB);
  CHECK(told(builder) == "duplicates serious 7516192768 2 3 \n"
                         "  C:\\l\\y 2147483648 1 1\n"
                         "  C:\\m\\y 2147483648 1 1\n"
                         "  C:\\n\\y 2147483648 1 1\n"
                         "  C:\\a\\x.iso 3221225472 1 2\n"
                         "  C:\\b\\X.ISO 3221225472 1 2\n"
                         "  # 3x  y  -  2,0 GB\n"
                         "  # 2x  x.iso  -  3,0 GB\n");
  // Size and name must match separately, not just their concatenation.
  TableBuilder alike(L"C:\\");
  alike.file(L"a", L"5.bin", kGiB * 10);
  alike.file(L"b", L".bin", kGiB * 100 + 5);
  CHECK(told(alike).empty());
  TableBuilder many(L"C:\\");
  for (int i = 0; i < 20; ++i)
    many.file(L"f" + std::to_wstring(i), L"g" + std::to_wstring(i / 2), kGiB);
  const auto findings = advice(many);
  REQUIRE(findings.size() == 1);
  CHECK(findings[0].count == 10);
  CHECK(findings[0].notes.size() == 8);
  CHECK(findings[0].items.size() == 16);
  CHECK(findings[0].items.back().group == 8);
}

TEST_CASE("unreadable folders are reported last, from 51 on") {
  TableBuilder builder(L"C:\\");
  builder.bytes(L"Windows\\Installer", 6 * kGiB);
  builder.result.unreadableFolders = 50;
  CHECK(advice(builder).size() == 1);
  builder.result.unreadableFolders = 51;
  const auto findings = advice(builder);
  REQUIRE(findings.size() == 2);
  CHECK(findings[1].code == "denied");
  CHECK(findings[1].count == 51);
  CHECK(buildAdvice(ScanResult{}, kNow).empty());
}
