#include "scan/walk/walk.h"

#include "base/paths.h"
#include "base/text.h"
#include "base/time.h"
#include "rules/safety_rules.h"
#include "scan/final_totals.h"
#include "scan/targets.h"
#include "scan/walk/walk_queue.h"

#include <algorithm>
#include <array>
#include <exception>
#include <iterator>
#include <memory>
#include <mutex>
#include <system_error>
#include <thread>

namespace vorda {

namespace {

// Virtual file systems of a WSL distribution; their sizes are meaningless.
constexpr std::array<std::wstring_view, 5> kVirtualFolders = {L"proc", L"sys", L"dev", L"run",
                                                              L"mnt"};
constexpr unsigned kPublishEvery = 64;  // folders per worker
constexpr std::size_t kAddAtOnce = 64;  // subfolders found before they are queued
constexpr std::size_t kMostTops = 4096; // folders in the root that are counted by themselves
constexpr std::size_t kTopsShown = 40;
constexpr std::chrono::milliseconds kTopsEvery{250};
constexpr unsigned kCancelCheckMask = 1023; // items between checks of the cancel flag

struct FinishedFolder {
  std::uint32_t index;
  std::uint32_t parent;
  std::wstring name;
  std::uint64_t ownBytes;
  std::uint64_t ownFiles;
};

// The partial result of one worker. While it works, other threads read only the atomics.
struct alignas(64) WalkWorker {
  std::atomic<std::uint64_t> files{0};
  std::atomic<std::uint64_t> bytes{0};
  std::vector<FinishedFolder> folders; // with a sink, folders, kept and types stay empty
  std::vector<FileEntry> kept;
  TypeTotals types;
  std::uint32_t unreadableFolders = 0;
  std::uint32_t skippedFolders = 0;
  unsigned finishedFolders = 0;
  // By the number of a folder in the root. Others read it to publish.
  std::unique_ptr<std::atomic<std::uint64_t>[]> tops;
  std::unique_ptr<FileTaker> taker; // only with a sink
};

bool isVirtualFolder(std::wstring_view name) {
  return std::any_of(kVirtualFolders.begin(), kVirtualFolders.end(),
                     [name](std::wstring_view one) { return equalsIgnoreCase(one, name); });
}

class Walk {
public:
  Walk(FolderSource& source, ScanProgress& progress, const ScanOptions& options,
       const std::wstring& root, unsigned workers)
      : source_(source), progress_(progress), options_(options), queue_(rootTask(root)),
        workers_(workers) {
    wholeDistribution_ = isWslDistribution(root);
    // A search is not about folders.
    for (WalkWorker& worker : workers_) {
      if (options_.sink != nullptr) break;
      worker.tops = std::make_unique<std::atomic<std::uint64_t>[]>(kMostTops);
    }
  }

  void run() {
    std::vector<std::thread> threads;
    threads.reserve(workers_.size());
    try {
      for (WalkWorker& worker : workers_) {
        threads.emplace_back([this, &worker]() noexcept { tryToWork(worker); });
      }
    } catch (const std::exception&) {
      // No more threads are available: continue with those that started and this one.
      tryToWork(workers_[threads.size()]);
    }
    for (std::thread& thread : threads) thread.join();
    if (failure_) std::rethrow_exception(failure_);
  }

  void mergeInto(ScanResult& result);

  bool rootUnreadable() const { return rootUnreadable_; }

private:
  static FolderTask rootTask(const std::wstring& root) {
    FolderTask task;
    task.path = root;
    task.root = true;
    return task;
  }

  void work(WalkWorker& worker);
  void tryToWork(WalkWorker& worker) noexcept;
  void readFolder(WalkWorker& worker, FolderReader& reader, const FolderTask& task,
                  std::vector<FolderTask>& found);
  void keep(WalkWorker& worker, const FolderTask& task, const FolderItem& item) const;
  bool isLeftOut(const std::wstring& path) const;
  void addFolder(WalkWorker& worker, const FolderTask& task, const FolderItem& item,
                 std::vector<FolderTask>& found);
  void publish(const FolderTask& task);
  std::uint32_t numberTop(std::wstring_view name);
  void publishTops();

  FolderSource& source_;
  ScanProgress& progress_;
  const ScanOptions& options_;
  WalkQueue queue_;
  std::vector<WalkWorker> workers_;
  std::atomic<std::uint32_t> nextIndex_{1};
  std::atomic<std::uint64_t> publishedFolders_{0};
  std::atomic<bool> cutShort_{false}; // something was not read because of a cancel
  std::atomic<bool> rootUnreadable_{false};
  std::mutex failing_;
  std::exception_ptr failure_; // guarded by failing_ while there are workers
  bool wholeDistribution_ = false;
  // Of the folders in the root, by number less one: written by the worker that reads the root, before
  // any of them is queued for the others.
  std::vector<std::wstring> topNames_;
  std::mutex topMutex_; // for the names, and for publishing one at a time
  ScanClock::time_point topsPublished_ = ScanClock::now();
};

// What one worker cannot do, for want of memory above all, fails the whole walk.
void Walk::tryToWork(WalkWorker& worker) noexcept {
  try {
    work(worker);
  } catch (...) {
    const std::lock_guard lock(failing_);
    failure_ = std::current_exception();
    queue_.stop();
  }
}

void Walk::work(WalkWorker& worker) {
  const std::unique_ptr<FolderReader> reader = source_.reader();
  if (options_.sink != nullptr) worker.taker = options_.sink->taker();
  std::vector<FolderTask> found;
  FolderTask task;
  bool more = queue_.take(task);
  while (more) {
    // After a cancel, the queue is emptied without reading.
    if (progress_.cancelRequested.load(std::memory_order_relaxed)) {
      cutShort_ = true;
    } else {
      readFolder(worker, *reader, task, found);
      if (++worker.finishedFolders % kPublishEvery == 0) publish(task);
    }
    more = queue_.finishAndTake(found, task);
  }
  if (worker.taker) worker.taker->finish();
  worker.taker.reset();
}

void Walk::readFolder(WalkWorker& worker, FolderReader& reader, const FolderTask& task,
                      std::vector<FolderTask>& found) {
  std::uint64_t bytes = 0;
  std::uint64_t files = 0;
  unsigned seen = 0;
  const bool opened = reader.open(task.path, task.literal);
  if (opened) {
    FolderItem item;
    while (reader.next(item)) {
      if ((++seen & kCancelCheckMask) == 0 && progress_.cancelRequested.load()) {
        cutShort_ = true;
        break;
      }
      if (item.reparsePoint) continue;
      if (item.folder) {
        addFolder(worker, task, item, found);
        continue;
      }
      bytes += item.size;
      ++files;
      if (!worker.taker) addToType(worker.types, item.name, item.size);
      if (options_.keeps(item.name, item.size)) keep(worker, task, item);
    }
  }
  if (!opened || reader.endedEarly()) {
    ++worker.unreadableFolders;
    if (task.root && seen == 0) rootUnreadable_ = true;
  }
  // Only this worker writes them; others read them to publish progress.
  worker.bytes.store(worker.bytes.load(std::memory_order_relaxed) + bytes,
                     std::memory_order_relaxed);
  worker.files.store(worker.files.load(std::memory_order_relaxed) + files,
                     std::memory_order_relaxed);
  if (worker.tops && task.top > 0) {
    std::atomic<std::uint64_t>& top = worker.tops[task.top - 1];
    top.store(top.load(std::memory_order_relaxed) + bytes, std::memory_order_relaxed);
  }
  if (worker.taker) return;
  worker.folders.push_back({task.index, task.parent, std::wstring(task.name()), bytes, files});
}

void Walk::keep(WalkWorker& worker, const FolderTask& task, const FolderItem& item) const {
  const std::uint64_t modified = unixMsFromFileTime(item.lastWrite);
  if (!options_.bounds.hold(item.size, modified)) return;
  if (worker.taker) {
    worker.taker->take({task.path, item.name, item.size, modified});
  } else {
    worker.kept.push_back({task.index, std::wstring(item.name), item.size, modified});
  }
}

bool Walk::isLeftOut(const std::wstring& path) const {
  return std::any_of(options_.leftOut.begin(), options_.leftOut.end(),
                     [&path](const std::wstring& one) { return equalsIgnoreCase(one, path); });
}

void Walk::addFolder(WalkWorker& worker, const FolderTask& task, const FolderItem& item,
                     std::vector<FolderTask>& found) {
  if (wholeDistribution_ && task.root && isVirtualFolder(item.name)) {
    ++worker.skippedFolders;
    return;
  }
  FolderTask child;
  child.path = joinPath(task.path, item.name);
  if (isLeftOut(child.path)) return;
  child.index = nextIndex_.fetch_add(1, std::memory_order_relaxed);
  child.parent = task.index;
  child.nameStart = child.path.size() - item.name.size();
  child.literal = task.literal || losesItsEnd(item.name);
  child.top = task.root ? numberTop(item.name) : task.top;
  found.push_back(std::move(child));
  if (found.size() == kAddAtOnce) queue_.add(found);
}

std::uint32_t Walk::numberTop(std::wstring_view name) {
  if (options_.sink != nullptr) return 0;
  const std::lock_guard lock(topMutex_);
  if (topNames_.size() == kMostTops) return 0;
  topNames_.emplace_back(name);
  return static_cast<std::uint32_t>(topNames_.size());
}

void Walk::publishTops() {
  // Whoever comes while another one is at it has nothing newer to say.
  const std::unique_lock lock(topMutex_, std::try_to_lock);
  const ScanClock::time_point now = ScanClock::now();
  if (!lock || now - topsPublished_ < kTopsEvery) return;
  topsPublished_ = now;
  std::vector<TopFolder> tops;
  for (std::size_t i = 0; i < topNames_.size(); ++i) {
    std::uint64_t bytes = 0;
    for (const WalkWorker& worker : workers_) {
      bytes += worker.tops[i].load(std::memory_order_relaxed);
    }
    if (bytes > 0) tops.push_back({topNames_[i], bytes});
  }
  const std::size_t shown = std::min(tops.size(), kTopsShown);
  std::partial_sort(tops.begin(), tops.begin() + static_cast<std::ptrdiff_t>(shown), tops.end(),
                    [](const TopFolder& a, const TopFolder& b) { return a.bytes > b.bytes; });
  tops.resize(shown);
  progress_.edit([&tops](ProgressTexts& texts) { texts.top = std::move(tops); });
}

void Walk::publish(const FolderTask& task) {
  std::uint64_t files = 0;
  std::uint64_t bytes = 0;
  for (const WalkWorker& worker : workers_) {
    files += worker.files.load(std::memory_order_relaxed);
    bytes += worker.bytes.load(std::memory_order_relaxed);
  }
  progress_.files = files;
  progress_.bytes = bytes;
  progress_.dirs = publishedFolders_.fetch_add(kPublishEvery) + kPublishEvery;
  progress_.edit([&task](ProgressTexts& texts) { texts.current = task.path; });
  if (options_.sink == nullptr) publishTops();
}

void Walk::mergeInto(ScanResult& result) {
  result.folderCount = nextIndex_.load();
  if (options_.sink == nullptr) result.folders.resize(nextIndex_.load());
  std::size_t kept = 0;
  for (const WalkWorker& worker : workers_) kept += worker.kept.size();
  result.files.reserve(kept);
  for (WalkWorker& worker : workers_) {
    for (FinishedFolder& folder : worker.folders) {
      if (folder.index >= result.folders.size()) continue;
      FolderEntry& entry = result.folders[folder.index];
      entry.parent = folder.parent;
      entry.name = std::move(folder.name);
      entry.ownBytes = folder.ownBytes;
      entry.ownFiles = folder.ownFiles;
    }
    std::vector<FinishedFolder>().swap(worker.folders);
    std::move(worker.kept.begin(), worker.kept.end(), std::back_inserter(result.files));
    std::vector<FileEntry>().swap(worker.kept);
    mergeTypes(result.types, worker.types);
    result.fileCount += worker.files.load();
    result.byteCount += worker.bytes.load();
    result.unreadableFolders += worker.unreadableFolders;
    result.skippedFolders += worker.skippedFolders;
  }
  if (cutShort_) result.partial = Partial::cancelled;
}

// The root by its plain name if it has one: files found below it can then be compared with those of
// other scans, and deleted.
std::wstring rootPathOf(FolderSource& source, const std::wstring& root) {
  std::wstring path = normaliseRoot(source.absolute(normaliseRoot(root)));
  std::wstring plain = withoutLiteralPrefix(path);
  return namesDevice(plain) ? path : plain;
}

} // namespace

unsigned workerCount(unsigned processors, std::wstring_view root) {
  const unsigned n = processors == 0 ? 4 : processors;
  if (root.starts_with(L"\\\\")) return n > 10 ? 32 : std::min(3 * n, 32U);
  return std::min(std::max(n, 4U), 16U);
}

bool walk(FolderSource& source, ScanProgress& progress, const ScanOptions& options,
          ScanResult& result, unsigned workers) {
  const ScanClock::time_point start = ScanClock::now();
  progress.phase = kPhaseReading;
  progress.setStatus(ScanStatus::reading);
  result.rootPath = rootPathOf(source, options.root);
  progress.edit([](ProgressTexts& texts) { texts.method = ScanMethod::walk; });
  const auto noSuchDir = [&progress] {
    progress.edit([](ProgressTexts& texts) { texts.failure = kNoSuchDir; });
    return false;
  };
  const PathFacts root = source.facts(result.rootPath);
  if (!root.exists || !root.folder) return noSuchDir();
  if (workers == 0) workers = workerCount(std::thread::hardware_concurrency(), result.rootPath);
  Walk walk(source, progress, options, result.rootPath, workers);
  walk.run();
  progress.edit([](ProgressTexts& texts) { texts.top.clear(); });
  if (walk.rootUnreadable()) return noSuchDir();
  progress.phase = kPhaseSumming;
  progress.setStatus(ScanStatus::merging);
  walk.mergeInto(result);
  finishScan(progress, result, start);
  return true;
}

} // namespace vorda
