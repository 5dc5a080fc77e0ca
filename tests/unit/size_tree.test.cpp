#include "support/table.h"
#include "tree/size_tree.h"

#include <algorithm>
#include <chrono>
#include <random>

using namespace vorda;
using namespace vorda::test;

namespace {

constexpr std::uint64_t kMiB = 1ULL << 20;

int sum(FolderTable& folders) {
  ScanProgress progress;
  sumTree(folders, progress);
  return progress.phase;
}

std::string node(const ScanResult& result, TreeOptions options = {}) {
  JsonWriter json;
  writeTreeNode(result.folders, result.rootPath, options, json, 0, 0);
  return json.take();
}

FolderTable withParents(const std::vector<std::uint32_t>& parents) {
  FolderTable folders;
  for (const std::uint32_t parent : parents) folders.push_back({parent, L"n", 1, 1});
  return folders;
}

} // namespace

TEST_CASE("totals of random trees equal a naive computation") {
  std::mt19937 random(7);
  for (int round = 0; round < 50; ++round) {
    const auto count = static_cast<std::uint32_t>(1 + random() % 300);
    // A tree below entry 0, with parents and children in any order.
    std::vector<std::uint32_t> place(count);
    for (std::uint32_t i = 0; i < count; ++i) place[i] = i;
    std::shuffle(place.begin() + 1, place.end(), random);
    FolderTable folders(count);
    std::vector<std::uint64_t> bytes(count, 0);
    std::vector<std::int32_t> depths(count, 0);
    for (std::uint32_t i = 1; i < count; ++i) {
      const std::uint32_t parent = place[random() % i];
      folders[place[i]].parent = parent;
      depths[place[i]] = depths[parent] + 1;
    }
    for (std::uint32_t i = 0; i < count; ++i) {
      folders[i].ownBytes = random();
      folders[i].ownFiles = 1;
      for (std::uint32_t at = i; at != kNoFolder; at = folders[at].parent) {
        bytes[at] += folders[i].ownBytes;
      }
    }
    CHECK(sum(folders) == kPhaseFinished);
    std::uint64_t listed = 0;
    for (std::uint32_t i = 0; i < count; ++i) {
      CHECK(folders[i].totalBytes == bytes[i]);
      CHECK(folders[i].depth == depths[i]);
      std::uint32_t before = 0;
      for (std::uint32_t c = folders[i].firstChild; c != kNoFolder; c = folders[c].nextSibling) {
        CHECK(folders[c].parent == i);
        CHECK(c > before);
        before = c;
        ++listed;
      }
    }
    CHECK(listed == count - 1);
    CHECK(folders[0].totalFiles == count);
  }
}

TEST_CASE("damaged tables: folders with cut links keep their totals and are no children") {
  FolderTable empty;
  CHECK(sum(empty) == 0);

  //                             root  out of range  self  cycle of three     below the cycle
  FolderTable folders = withParents({kNoFolder, 99, 2, 4, 5, 3, 5, 6, 1});
  sum(folders);
  const std::vector<std::uint64_t> totals = {1, 2, 1, 1, 1, 3, 2, 1, 1};
  const std::vector<std::int32_t> depths = {0, 1, 1, 1, 1, 1, 2, 3, 2};
  for (std::size_t i = 0; i < folders.size(); ++i) {
    CHECK(folders[i].totalBytes == totals[i]);
    CHECK(folders[i].depth == depths[i]);
  }
  CHECK(folders[0].firstChild == kNoFolder);
  CHECK(folderPath(folders, 7, L'\\') == L"n\\n\\n");

  FolderTable rooted = withParents({1, 0});
  sum(rooted);
  CHECK(rooted[0].totalBytes == 2);
  CHECK(rooted[1].totalBytes == 1);
}

TEST_CASE("chains and cycles of 100,000 folders take linear time") {
  constexpr std::uint32_t kCount = 100'000;
  const auto summed = [](std::uint32_t (*parentOf)(std::uint32_t)) {
    std::vector<std::uint32_t> parents(kCount, kNoFolder);
    for (std::uint32_t i = 1; i < kCount; ++i) parents[i] = parentOf(i);
    FolderTable folders = withParents(parents);
    sum(folders);
    return folders;
  };
  const auto start = std::chrono::steady_clock::now();
  const FolderTable chain = summed([](std::uint32_t i) { return i - 1; });
  const FolderTable reversed = // children before parents
      summed([](std::uint32_t i) { return i + 1 == kCount ? 0 : i + 1; });
  const FolderTable circles = summed([](std::uint32_t i) { return ((i - 1) ^ 1) + 1; });
  const std::chrono::duration<double> took = std::chrono::steady_clock::now() - start;
  CHECK(chain[0].totalBytes == kCount);
  CHECK(chain[kCount - 1].depth == static_cast<int>(kCount) - 1);
  CHECK(reversed[0].totalBytes == kCount);
  CHECK(reversed[1].depth == static_cast<int>(kCount) - 1);
  CHECK(circles[0].totalBytes == 1);
  CHECK(circles[77].totalBytes == 1);
  // Milliseconds if linear, minutes if quadratic.
  CHECK(took.count() < 10);
}

TEST_CASE("a node lists the largest subfolders and totals the rest") {
  TableBuilder wide(L"C:\\");
  for (int i = 0; i < 45; ++i) wide.bytes(L"d" + std::to_wstring(i), 100 * kMiB);
  wide.bytes(L"small", 3);
  wide.folder(L"empty");
  wide.bytes(L"", 9);
  const std::string text = node(wide.summed());
  CHECK(text.starts_with(R"({"n":"C:\\","s":4718592012,"f":47,"i":0,"c":[{"n":"d0",)"));
  CHECK(text.ends_with(R"(,{"n":"","rk":"smaller","rn":6,"s":524288003,"f":6,"rest":true},)"
                       R"({"n":"","rk":"loose","s":9,"f":1,"rest":true}]})"));
  CHECK(text.find("d39") != std::string::npos);
  CHECK(text.find("d40") == std::string::npos);
  CHECK(text.find("empty") == std::string::npos);
}

TEST_CASE("nodes without children to list") {
  TableBuilder hollow(L"C:\\x");
  hollow.folder(L"a\\b");
  CHECK(node(hollow.summed()) == R"({"n":"C:\\x","s":0,"f":0,"i":0})");
  TableBuilder files(L"C:\\x");
  files.bytes(L"", 5);
  CHECK(node(files.summed()) == R"({"n":"C:\\x","s":5,"f":1,"i":0})");
  TableBuilder deep(L"C:\\x");
  deep.bytes(L"1\\2\\3\\4\\5\\6\\7\\8", 64 * kMiB);
  const std::string text = node(deep.summed());
  CHECK(text.find(R"("n":"7","s":67108864,"f":1,"i":7}])") != std::string::npos);
  CHECK(text.find(R"("n":"8")") == std::string::npos);
}

TEST_CASE("folders are found by path") {
  TableBuilder builder(L"C:\\Data");
  const std::uint32_t deep = builder.folder(L"\u00C9t\u00E9\\x");
  const ScanResult& result = builder.summed();
  const auto find = [&result](const wchar_t* path) {
    return findFolder(result.folders, result.rootPath, path);
  };
  CHECK(find(L"c:\\data\\") == 0U);
  CHECK(find(L"D:/DATA") == std::nullopt);
  CHECK(find(L"c:\\data\\\u00E9T\u00C9//X/") == deep);
  CHECK(find(L"C:\\Data2") == std::nullopt);
  CHECK(find(L"C:\\Data\\none") == std::nullopt);
  CHECK(find(L"") == std::nullopt);
  TableBuilder drive(L"C:\\");
  drive.folder(L"a");
  const ScanResult& whole = drive.summed();
  CHECK(findFolder(whole.folders, whole.rootPath, L"c:") == 0U);
  CHECK(findFolder(whole.folders, whole.rootPath, L"C:\\A") == 1U);
  CHECK(findFolder({}, L"C:\\", L"C:\\") == std::nullopt);
}

TEST_CASE("the order of the largest files does not depend on the order of the list") {
  std::mt19937 random(3);
  TableBuilder builder(L"C:\\");
  for (int i = 0; i < 300; ++i) {
    builder.file(L"f" + std::to_wstring(i % 20) + L"\\g" + std::to_wstring(i % 3),
                 L"n" + std::to_wstring(i / 4), static_cast<std::uint64_t>(i % 10));
  }
  ScanResult& result = builder.summed();
  const auto paths = [&result](std::size_t count) {
    std::vector<std::wstring> list;
    for (const FileEntry* file : largestFiles(result, count)) {
      std::wstring path = std::to_wstring(9 - file->size) + filePath(result, *file);
      std::replace(path.begin(), path.end(), L'\\', L'\x01'); // compares components, not characters
      list.push_back(path);
    }
    return list;
  };
  const auto all = paths(1000);
  CHECK(all.size() == 300);
  // By descending size, then by path components.
  CHECK(std::is_sorted(all.begin(), all.end()));
  std::shuffle(result.files.begin(), result.files.end(), random);
  CHECK(paths(1000) == all);
  const auto most = paths(120);
  CHECK(std::equal(most.begin(), most.end(), all.begin()));
}
