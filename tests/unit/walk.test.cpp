#include "scan/job.h"
#include "scan/walk/walk.h"
#include "support/memory_disk.h"

#include <doctest/doctest.h>

#include <condition_variable>
#include <thread>

using namespace vorda;
using test::MemoryDisk;

namespace {

// A tree of folders with a known sum, wide at the top and a long chain at one side.
void fill(MemoryDisk& folders, const std::wstring& root, std::uint64_t& files,
          std::uint64_t& bytes) {
  folders.addFolder(L"M:", root.substr(3));
  std::wstring chain = root;
  for (int i = 0; i < 300; ++i) {
    const std::wstring folder = folders.addFolder(root, L"wide" + std::to_wstring(i));
    chain = folders.addFolder(chain, L"deep");
    for (int j = 0; j < i % 7; ++j) {
      folders.addFile(folder, L"f" + std::to_wstring(j) + L".Bin", 1000 + static_cast<unsigned>(i));
      bytes += 1000 + static_cast<unsigned>(i);
      ++files;
    }
    folders.addFile(chain, L"x", 1);
    ++bytes;
    ++files;
  }
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

TEST_CASE("any number of workers finds the same tree") {
  MemoryDisk folders;
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
  fill(folders, L"M:\\tree", files, bytes);
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
      // Breadth first: a parent's index is below its children's.
      CHECK((i == 0 ? result.folders[i].parent == kNoFolder : result.folders[i].parent < i));
    }
    CHECK(own == bytes);
    for (const FileEntry& file : result.files) kept += file.size >= 1200 ? 1 : 1000000;
    CHECK(kept == 303);
    CHECK(scan.progress.files == files);
    CHECK(scan.progress.dirs == 601);
    CHECK(scan.progress.texts().method == ScanMethod::walk);
    CHECK(scan.progress.texts().current.starts_with(L"M:\\tree"));
  }
}

TEST_CASE("links are left out, unreadable folders stay, an early end is told") {
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

TEST_CASE("a distribution's virtual folders are skipped at its root only") {
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
  }
}

TEST_CASE("a cancel lets the folders in hand finish and reads no more") {
  MemoryDisk folders;
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
  fill(folders, L"M:\\tree", files, bytes);
  Scan scan;
  std::mutex mutex;
  std::condition_variable changed;
  bool reached = false;
  bool cancelled = false;
  std::atomic<int> openedAfter{0};
  folders.onOpen = [&](const std::wstring& path) {
    if (cancelled) ++openedAfter;
    if (path != L"M:\\tree\\deep\\deep") return;
    std::unique_lock lock(mutex);
    reached = true;
    changed.notify_all();
    changed.wait(lock, [&] { return cancelled; });
  };
  bool walked = false;
  std::thread thread([&] { walked = scan.run(folders, L"M:\\tree", 1); });
  {
    std::unique_lock lock(mutex);
    changed.wait(lock, [&] { return reached; });
    scan.progress.cancelRequested = true;
    cancelled = true;
    changed.notify_all();
  }
  thread.join();
  CHECK(walked);
  CHECK(openedAfter == 0);
  CHECK(scan.result.fileCount < files);
  // Folders that were found but not read are in the table, without a name.
  CHECK(scan.result.folderCount > 300);
}

TEST_CASE("roots and workers") {
  CHECK(normaliseRoot(L"C:") == L"C:\\");
  CHECK(normaliseRoot(L"C:\\") == L"C:\\");
  CHECK(normaliseRoot(L"D:\\data\\/\\") == L"D:\\data");
  CHECK(workerCount(8, L"C:\\") == 8);
  CHECK(workerCount(8, L"\\\\s\\d") == 24);
  CHECK(workerCount(2, L"C:\\") == 4);
  CHECK(workerCount(2, L"\\\\s\\d") == 6);
  CHECK(workerCount(16, L"C:\\") == 16);
  CHECK(workerCount(4'000'000'000U, L"\\\\s\\d") == 32);
  CHECK(workerCount(64, L"C:\\") == 16);
  CHECK(workerCount(0, L"\\\\s\\d") == 12);
  MemoryDisk folders;
  folders.addFile(L"M:\\r", L"file", 3);
  for (const wchar_t* root : {L"M:\\r\\file", L"M:\\none"}) {
    Scan scan;
    CHECK_FALSE(scan.run(folders, root));
    CHECK(scan.progress.texts().failure == kNoSuchDir);
  }
}

TEST_CASE("a job chooses its method and always ends") {
  struct Row {
    std::string kind;
    TurboVerdict verdict;
    std::string_view turboFails; // the word, "-" for a reader that is not there, "" for success
    std::string_view walkFails;
    ScanMethod method;
    std::string_view noTurbo, error;
  };
  const std::vector<Row> rows = {
      {"drive", {true, {}}, "", "", ScanMethod::turbo, "", ""},
      {"drive", {true, {}}, kMftCorrupt, "", ScanMethod::walk, kMftCorrupt, ""},
      {"drive", {true, {}}, "-", "", ScanMethod::walk, kMftOpenFailed, ""},
      {"drive", {true, {}}, kMftCorrupt, kNoSuchDir, ScanMethod::walk, kMftCorrupt, kNoSuchDir},
      {"folder", {false, kNotLocal}, "-", "", ScanMethod::walk, kNotLocal, ""},
      {"folder", {false, kNotLocal}, "-", "?", ScanMethod::walk, kNotLocal, kScanFailed},
      {"ssh", {true, {}}, "", "", ScanMethod::none, "", kScanFailed}};
  for (const Row& row : rows) {
    Job job;
    job.target = L"D:\\";
    job.kind = row.kind;
    ScanSteps steps;
    const auto method = [](ScanMethod name, std::string_view fails) {
      return [name, fails](ScanProgress& progress, const ScanOptions&, ScanResult& result) {
        result.fileCount += 1;
        progress.edit([&](ProgressTexts& texts) {
          texts.method = name;
          if (fails != "?") texts.failure = fails;
        });
        return fails.empty();
      };
    };
    int finished = 0;
    steps.turboAllowed = [&row](const std::wstring&) { return row.verdict; };
    if (row.turboFails != "-") steps.turbo = method(ScanMethod::turbo, row.turboFails);
    steps.walk = method(ScanMethod::walk, row.walkFails);
    steps.driveFigures = [](const std::wstring&) { return DriveFigures{100, 40, L"vol"}; };
    steps.finish = [&finished](Job& one) {
      ++finished;
      CHECK_FALSE(one.done);
    };
    runJob(job, steps);
    const ProgressTexts texts = job.progress.texts();
    CHECK(texts.method == row.method);
    CHECK(texts.noTurbo == row.noTurbo);
    CHECK(texts.error == row.error);
    CHECK(job.done);
    CHECK(job.resultReady);
    CHECK(job.progress.phase == kPhaseFinished);
    CHECK(finished == (row.error.empty() ? 1 : 0));
    // What a failed reader left behind is not in the result.
    if (row.error.empty()) CHECK(job.result.fileCount == 1);
    if (row.error.empty()) CHECK(job.drive.freeBytes == 40);
  }
}

TEST_CASE("a step that throws fails its job, not the process") {
  Job job;
  ScanSteps steps;
  steps.turboAllowed = [](const std::wstring&) { return TurboVerdict{}; };
  steps.walk = [](ScanProgress&, const ScanOptions&, ScanResult& result) -> bool {
    result.fileCount = 1;
    throw std::bad_alloc();
  };
  runJob(job, steps);
  CHECK(job.done);
  CHECK(job.progress.texts().error == kScanFailed);
  CHECK(job.result.fileCount == 0);
}

TEST_CASE("filters drop the size limit of the file list") {
  Job job;
  CHECK(optionsOf(job).fileListThreshold == 52'428'800);
  job.namePatterns = {L"x"};
  CHECK(optionsOf(job).fileListThreshold == 0);
  ScanOptions plain;
  CHECK(plain.keeps(L"a", 52'428'800));
  CHECK_FALSE(plain.keeps(L"a", 52'428'799));
}
