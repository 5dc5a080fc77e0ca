#include "scan/walk/walk.h"
#include "support/memory_disk.h"
#include "tree/account.h"
#include "tree/disk_sums.h"
#include "tree/size_tree.h"

#include <thread>

using namespace vorda;
using namespace vorda::test;

namespace {

// 300 folders in the root, and a chain of 300 folders. Returns the number of files, and their bytes.
std::pair<std::uint64_t, std::uint64_t> fill(MemoryDisk& folders, const std::wstring& root) {
  folders.addFolder(L"M:", root.substr(3));
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
  const auto add = [&](const std::wstring& folder, const std::wstring& name, std::uint64_t size) {
    folders.addFile(folder, name, size);
    ++files;
    bytes += size;
  };
  std::wstring chain = root;
  for (unsigned i = 0; i < 300; ++i) {
    const std::wstring folder = folders.addFolder(root, L"wide" + std::to_wstring(i));
    for (unsigned j = 0; j < i % 7; ++j) add(folder, L"f" + std::to_wstring(j) + L".Bin", 1000 + i);
    chain = folders.addFolder(chain, L"deep");
    add(chain, L"x", 1);
  }
  return {files, bytes};
}

struct Scan {
  ScanProgress progress;
  ScanOptions options;
  ScanResult result;
  bool run(FolderSource& source, const std::wstring& root, unsigned workers = 4) {
    options.root = root;
    return walk(source, progress, options, result, workers);
  }
};

} // namespace

TEST_CASE("the result does not depend on the number of workers") {
  MemoryDisk folders;
  const auto [files, bytes] = fill(folders, L"M:\\tree");
  for (const unsigned workers : {1U, 2U, 8U, 16U}) {
    Scan scan;
    scan.options.fileListThreshold = 1200;
    REQUIRE(scan.run(folders, L"M:\\tree\\\\", workers));
    const ScanResult& result = scan.result;
    CHECK(result.rootPath == L"M:\\tree");
    CHECK(result.fileCount == files);
    CHECK(result.byteCount == bytes);
    CHECK(result.folderCount == 601);
    CHECK(result.types.at(L".bin").files + result.types.at(L"(none)").files == files);
    std::uint64_t own = 0;
    std::uint64_t kept = 0;
    for (std::uint32_t i = 0; i < result.folders.size(); ++i) {
      own += result.folders[i].ownBytes;
      // Breadth first: parents have lower indices.
      CHECK((i == 0 ? result.folders[i].parent == kNoFolder : result.folders[i].parent < i));
    }
    CHECK(own == bytes);
    for (const FileEntry& file : result.files) kept += file.size >= 1200 ? 1 : 1000000;
    CHECK(kept == 303);
    CHECK(scan.progress.files == files);
    CHECK(scan.progress.dirs == 601);
    CHECK(scan.progress.texts().current.starts_with(L"M:\\tree"));
  }
}

TEST_CASE("links are skipped, unreadable folders are counted") {
  MemoryDisk folders;
  const std::wstring root = folders.addFolder(L"M:", L"r");
  folders.addFolder(root, L"locked");
  folders.addFile(folders.addFolder(root, L"torn"), L"first.txt", 5);
  folders.link(root + L"\\junction", L"M:\\elsewhere");
  folders.addFile(root, L"link.txt", 999).link = L"M:\\elsewhere.txt";
  folders.addFile(root, L"a.txt", 7, 116'444'736'000'000'000ULL + 20'000'000);
  folders.unreadable = {L"M:\\r\\locked"};
  folders.endingEarly = {L"M:\\r\\torn"};
  Scan scan;
  scan.options.fileListThreshold = 0;
  scan.options.namePatterns = {L"a"};
  REQUIRE(scan.run(folders, root));
  CHECK(scan.result.fileCount == 2);
  CHECK(scan.result.byteCount == 12);
  CHECK(scan.result.folderCount == 3);
  CHECK(scan.result.unreadableFolders == 2);
  CHECK(scan.result.types.at(L".txt").files == 2);
  REQUIRE(scan.result.files.size() == 1);
  CHECK(scan.result.files[0].modified == 2000);
}

TEST_CASE("virtual folders are skipped only in the root of a WSL distribution") {
  for (const std::wstring share : {L"\\\\WSL$\\Deb", L"\\\\wsl.localhost\\Deb", L"\\\\nas\\wsl"}) {
    MemoryDisk folders;
    const std::wstring root = folders.addFolder(share, L"");
    for (const wchar_t* name : {L"Proc", L"sys", L"dev", L"run", L"mnt"}) {
      folders.addFile(folders.addFolder(share, name), L"x", 1);
    }
    folders.addFile(folders.addFolder(folders.addFolder(share, L"home"), L"proc"), L"y", 10);
    Scan scan;
    REQUIRE(scan.run(folders, share));
    const bool wsl = !share.ends_with(L"wsl");
    CHECK(scan.result.skippedFolders == (wsl ? 5 : 0));
    CHECK(scan.result.byteCount == (wsl ? 10 : 15));
    // In a folder of the distribution, such names are the user's.
    const std::wstring home = share + L"\\home";
    folders.addFile(folders.addFolder(home, L"dev"), L"z", 100);
    Scan inside;
    REQUIRE(inside.run(folders, home));
    CHECK(inside.result.skippedFolders == 0);
    CHECK(inside.result.byteCount == 110);
  }
}

TEST_CASE("a literal root is scanned by its plain name where that means the same") {
  MemoryDisk folders;
  folders.addFile(folders.addFolder(L"M:", L"r"), L"x", 1);
  folders.addFile(folders.addFolder(L"\\\\wsl$\\Deb", L"dev"), L"y", 2);
  const auto scanned = [&folders](const std::wstring& root) {
    Scan scan;
    return scan.run(folders, root) ? scan.result.rootPath : L"";
  };
  CHECK(scanned(L"\\\\?\\M:\\r\\") == L"M:\\r");
  CHECK(scanned(L"\\\\?\\unc\\wsl$\\Deb\\") == L"\\\\wsl$\\Deb");
  // Windows reads these differently without the prefix.
  for (const std::wstring name : {L"r.", L"aux", L"nul.d\\sub", L"r \\sub"}) {
    folders.addFolder(L"M:", name);
    CHECK(scanned(L"\\\\?\\M:\\" + name) == L"\\\\?\\M:\\" + name);
  }
}

TEST_CASE("after a cancel no further folder is opened") {
  MemoryDisk folders;
  const std::uint64_t files = fill(folders, L"M:\\tree").first;
  Scan scan;
  int openedAfter = 0;
  folders.onOpen = [&](const std::wstring& path) {
    if (scan.progress.cancelRequested) ++openedAfter;
    if (path == L"M:\\tree\\deep\\deep") scan.progress.cancelRequested = true;
  };
  CHECK(scan.run(folders, L"M:\\tree", 1));
  CHECK(scan.progress.cancelRequested);
  CHECK(openedAfter == 0);
  CHECK(scan.result.fileCount < files);
  CHECK(scan.result.folderCount > 300); // with those that were found but not read
}

TEST_CASE("worker counts, and roots that are no folders") {
  CHECK(workerCount(8, L"C:\\") == 8);
  CHECK(workerCount(8, L"\\\\s\\d") == 24);
  CHECK(workerCount(4'000'000'000U, L"\\\\s\\d") == 32);
  CHECK(workerCount(64, L"C:\\") == 16);
  CHECK(workerCount(0, L"\\\\s\\d") == 12);
  MemoryDisk folders;
  folders.addFile(L"M:\\r", L"file", 3);
  // A root that cannot be listed is no empty folder; one whose listing stops later keeps a part.
  folders.addFolder(L"M:\\r", L"torn");
  folders.endingEarly = {L"M:\\r\\torn", L"M:\\r"};
  folders.unreadable = {L"M:\\locked"};
  folders.addFolder(L"M:", L"locked");
  for (const wchar_t* root : {L"M:\\locked", L"M:\\r\\torn", L"M:\\r\\file", L"M:\\none"}) {
    Scan scan;
    CHECK_FALSE(scan.run(folders, root));
    CHECK(scan.progress.texts().failure == kNoSuchDir);
  }
  Scan part;
  CHECK(part.run(folders, L"M:\\r"));
  CHECK(part.result.byteCount == 3);
  Scan cancelled;
  cancelled.progress.cancelRequested = true;
  CHECK(cancelled.run(folders, L"M:\\locked"));
}

TEST_CASE("while it runs, a walk tells how much it found in the folders of its root") {
  MemoryDisk folders;
  for (int i = 0; i < 60; ++i) {
    const std::wstring top = folders.addFolder(L"M:\\", L"top" + std::to_wstring(i));
    folders.addFile(folders.addFolder(top, L"in"), L"x", 1000 + static_cast<std::uint64_t>(i));
    folders.addFile(top, L"y", 1);
  }
  folders.add(L"M:\\empty\\");
  for (int i = 0; i < 200; ++i) folders.addFolder(L"M:\\last\\a\\b", std::to_wstring(i));
  folders.addFile(L"M:\\", L"beside", 5'000);
  std::vector<TopFolder> told;
  Scan scan;
  // Long enough for more than one publication, which comes after 64 folders at the earliest.
  folders.onOpen = [&](const std::wstring& path) {
    if (path == L"M:\\last\\a\\b\\0") std::this_thread::sleep_for(std::chrono::milliseconds(300));
    if (path == L"M:\\last\\a\\b\\199") told = scan.progress.texts().top;
  };
  REQUIRE(scan.run(folders, L"M:\\", 1));
  REQUIRE(told.size() == 40); // the largest
  for (std::size_t i = 0; i < told.size(); ++i) {
    CHECK(told[i].name == L"top" + std::to_wstring(59 - i));
    CHECK(told[i].bytes == 1000 + 59 - i + 1);
  }
  CHECK(scan.progress.texts().top.empty()); // the result says it now
}

TEST_CASE("bytes on disk of a walk: names met, placeholders, and what it leaves out of sizes") {
  MemoryDisk disk;
  disk.cluster = 4096;
  disk.add(L"M:\\r\\a\\small", 700).disk = 704; // in the file's own record
  disk.add(L"M:\\r\\a\\plain.bin", 5000);
  DiskNode& cloud = disk.add(L"M:\\r\\a\\cloud.bin", 90'000);
  cloud.disk = 0;
  cloud.attributes = kAttributeRecallOnDataAccess;
  disk.add(L"M:\\r\\sparse.bin", 1'000'000).disk = 8192;
  const DiskNode& file = disk.add(L"M:\\r\\b\\x\\one.bin", 10'000);
  disk.hardLink(L"M:\\r\\b\\y\\two.txt", file);
  disk.hardLink(L"M:\\r\\b\\y\\three.txt", file);
  const DiskNode& other = disk.add(L"M:\\r\\b\\x\\other", 4096);
  disk.hardLink(L"M:\\r\\a\\other", other);
  disk.hardLink(L"M:\\elsewhere\\name", disk.add(L"M:\\r\\outside", 4096)); // looks like one name
  // Reparse points that are no links, in a folder that is one as well.
  DiskNode& packed = disk.add(L"M:\\r\\a\\packed", 50'000);
  packed.tag = 0x8000'0017;
  packed.disk = 12'288;
  disk.add(L"M:\\r\\synced\\").tag = 0x9000'001A;
  DiskNode& away = disk.add(L"M:\\r\\synced\\deep\\away", 70'000);
  away.tag = 0x9000'001A;
  away.disk = 0;
  disk.add(L"M:\\r\\synced\\deep\\here", 4096);
  DiskNode& never = disk.add(L"M:\\r\\never\\");
  never.tag = 0x9000'001A;
  never.attributes = kAttributeRecallOnOpen;
  disk.add(L"M:\\r\\never\\fetched", 4096);
  disk.link(L"M:\\r\\link", L"M:\\elsewhere");
  const auto scan = [&disk](unsigned workers) {
    auto made = std::make_unique<Scan>();
    made->options.fileListThreshold = 0;
    REQUIRE(made->run(disk, L"M:\\r", workers));
    sumScan(made->result, made->progress);
    return made;
  };
  for (const unsigned workers : {1U, 7U}) {
    const auto made = scan(workers);
    const ScanResult& result = made->result;
    CHECK(result.fileCount == 10);
    CHECK(result.folderCount == 5);
    CHECK(result.unreadableFolders == 0);
    const auto figures = [&result](const wchar_t* path) {
      const auto folder = findFolder(result.folders, L"M:\\r", path);
      REQUIRE(folder);
      const FolderDisk& sums = result.disk[*folder];
      return std::to_string(sums.totalDisk) + " " + std::to_string(sums.totalBack) + " " +
             std::to_string(sums.totalCloud);
    };
    CHECK(figures(L"M:\\r\\a") == "24576 20480 90000"); // plain, packed, other by its first path
    CHECK(figures(L"M:\\r\\b\\x") == "12288 0 0");
    CHECK(figures(L"M:\\r\\b\\y") == "0 0 0");
    CHECK(figures(L"M:\\r\\b") == "12288 12288 0");
    CHECK(figures(L"M:\\r") == "53248 53248 160000");
    CHECK(result.types.at(L".bin").disk == 8192 + 8192 + 12'288);
    CHECK(result.types.at(L".bin").back == 8192 + 8192);
    for (const FileEntry& one : result.files) {
      CHECK((one.link != kNoLink) == (one.name == L"one.bin" || one.name == L"two.txt" ||
                                      one.name == L"three.txt" || one.name == L"other"));
    }
    const Account account = accountOf(result);
    CHECK_FALSE(account.used);
    const auto row = [&account](std::string_view code) {
      return *std::find_if(account.rows.begin(), account.rows.end(),
                           [code](const AccountRow& one) { return one.code == code; });
    };
    CHECK(row("files").bytes == 53248);
    CHECK(row("twice").bytes == 2 * 10'000 + 4096);
    CHECK(row("twice").count == 3);
    CHECK(row("unlisted").bytes == 50'000 + 70'000 + 4096);
    CHECK(row("unlisted").count == 3);
  }
  disk.cluster = 0;
  CHECK(scan(2)->result.disk.empty());
}
