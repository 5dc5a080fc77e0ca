#include "scan/turbo/tree_build.h"

#include "base/text.h"
#include "scan/turbo/link_build.h"
#include "scan/turbo/type_tally.h"

#include <algorithm>
#include <limits>
#include <memory>

namespace vorda {

namespace {

// The folders in options.leftOut and everything below them.
class LeftOutFolders {
public:
  LeftOutFolders(const ScanOptions& options, const ScanResult& result)
      : paths_(options.leftOut), result_(result) {}

  bool contains(std::uint32_t folder) { return !paths_.empty() && isBelowOne(folder); }

private:
  static constexpr char kUnknown = 0;
  static constexpr char kIn = 1;
  static constexpr char kOut = 2;

  bool isBelowOne(std::uint32_t folder) {
    known_.resize(result_.folders.size(), kUnknown);
    climb_.clear();
    while (folder != kNoFolder && known_[folder] == kUnknown) {
      climb_.push_back(folder);
      folder = result_.folders[folder].parent;
    }
    bool out = folder != kNoFolder && known_[folder] == kOut;
    for (auto at = climb_.rbegin(); at != climb_.rend(); ++at) {
      out = out || isNamed(*at);
      known_[*at] = out ? kOut : kIn;
    }
    return out;
  }

  bool isNamed(std::uint32_t folder) const {
    return std::any_of(paths_.begin(), paths_.end(), [this, folder](const std::wstring& path) {
      return endsWithIgnoreCase(path, result_.folders[folder].name) &&
             equalsIgnoreCase(path, folderPath(result_.folders, folder, result_.separator));
    });
  }

  const std::vector<std::wstring>& paths_;
  const ScanResult& result_;
  std::vector<char> known_;
  std::vector<std::uint32_t> climb_;
};

class Builder {
public:
  Builder(RecordTable& table, const ScanOptions& options, ScanResult& result)
      : table_(table), options_(options), result_(result), types_(table.names),
        leftOut_(options, result), links_(table, result) {}

  bool run() {
    if (table_.folderAt(kRootRecord, 0) == nullptr) return false;
    addFolders();
    placeFolders();
    if (options_.sink == nullptr) addFolderDisk();
    addFiles();
    types_.moveInto(result_.types);
    for (std::uint32_t folder = 0; folder < result_.folders.size(); ++folder) {
      if (!leftOut_.contains(folder)) ++result_.folderCount;
    }
    return true;
  }

private:
  static constexpr std::uint32_t kAhead = 8; // records
  static constexpr std::uint64_t kUnknownLevel = 0;
  static constexpr std::uint64_t kRootLevel = 1;
  static constexpr std::uint64_t kOrphanLevel = kRootLevel + 2; // below "$Orphans"
  static constexpr std::uint64_t kClimbing = std::numeric_limits<std::uint64_t>::max();

  // The parent folder of an entry; null if it is missing or has been replaced.
  RecordEntry* parentOf(const RecordEntry& entry) {
    return entry.nameLength == 0 ? nullptr : table_.folderAt(entry.parent, entry.parentSequence);
  }

  void addFolders();
  void placeFolders();
  void place(RecordEntry& folder);
  void climbed(RecordEntry& folder, const RecordEntry* parent);
  void addFolderDisk();
  void markFixed();
  void addFiles();
  std::uint64_t bytesOf(std::uint64_t clusters) const { return clusters * table_.clusterBytes; }
  const SideFacts* factsOf(std::uint32_t record);
  FileDisk diskOf(std::uint32_t record, std::uint32_t folder);
  void addToAccount(std::uint32_t record, std::uint64_t bytes);
  void keep(std::uint32_t index, std::uint32_t record, const std::wstring& name,
            const FileDisk& disk);
  void prefetchParent(std::uint32_t record);
  void prefetchFolderOf(std::uint32_t record);
  std::uint32_t folderOfFile(std::uint32_t record);
  std::uint32_t orphans();

  RecordTable& table_;
  const ScanOptions& options_;
  ScanResult& result_;
  TypeTally types_;
  std::vector<std::uint32_t> folderRecords_; // ascending
  std::vector<RecordEntry*> climb_;          // empty but while a folder is placed
  std::uint32_t orphans_ = kNoFolder;
  LeftOutFolders leftOut_;
  LinkBuilder links_;
  std::vector<SideFacts>::const_iterator facts_;
  std::unique_ptr<FileTaker> taker_; // only with a sink
  std::uint32_t takenFrom_ = kNoFolder;
  std::wstring takenPath_;
};

void Builder::addFolders() {
  for (std::uint32_t record = 0; record < table_.size(); ++record) {
    const RecordEntry& entry = table_[record];
    if (entry.directory()) folderRecords_.push_back(record);
  }
  result_.folders.reserve(folderRecords_.size() + 1);
  result_.folders.emplace_back().name = result_.rootPath;
  for (const std::uint32_t record : folderRecords_) {
    RecordEntry& entry = table_[record];
    entry.level = kUnknownLevel;
    entry.folderIndex = 0;
    if (record == kRootRecord) continue;
    entry.folderIndex = result_.folders.size();
    std::wstring& name = result_.folders.emplace_back().name;
    if (entry.nameLength == 0) {
      name = L"record " + std::to_wstring(record);
    } else {
      table_.names.read(entry.name(), name);
    }
  }
}

std::uint32_t Builder::orphans() {
  if (orphans_ == kNoFolder) {
    orphans_ = static_cast<std::uint32_t>(result_.folders.size());
    FolderEntry& folder = result_.folders.emplace_back();
    folder.name = L"$Orphans";
    folder.parent = 0;
    if (!result_.disk.empty()) {
      result_.disk.resize(result_.folders.size());
      result_.disk.back().fixed = true;
    }
  }
  return orphans_;
}

// Sets a folder's parent: the given one, already placed, or the orphans.
void Builder::climbed(RecordEntry& folder, const RecordEntry* parent) {
  const bool reaches = parent != nullptr && parent->level <= kMostSteps;
  const std::uint32_t above = reaches ? static_cast<std::uint32_t>(parent->folderIndex) : orphans();
  folder.level = reaches ? parent->level + 1 : kOrphanLevel;
  result_.folders[folder.folderIndex].parent = above;
}

void Builder::place(RecordEntry& folder) {
  RecordEntry* at = &folder;
  while (at != nullptr && at->level == kUnknownLevel) {
    at->level = kClimbing;
    climb_.push_back(at);
    at = parentOf(*at);
  }
  if (at != nullptr && at->level == kClimbing) {
    // A cycle: each of its folders is an orphan.
    const RecordEntry* metAgain = at;
    do {
      at = climb_.back();
      climb_.pop_back();
      climbed(*at, nullptr);
    } while (at != metAgain);
  }
  while (!climb_.empty()) {
    RecordEntry* next = climb_.back();
    climb_.pop_back();
    climbed(*next, at);
    at = next;
  }
}

void Builder::placeFolders() {
  table_[kRootRecord].level = kRootLevel;
  for (const std::uint32_t record : folderRecords_) place(table_[record]);
}

// The parents of files lie anywhere in the table.
void Builder::prefetchParent(std::uint32_t record) {
  if (record >= table_.size()) return;
  const std::uint32_t parent = table_[record].parent;
  if (parent < table_.size()) __builtin_prefetch(&table_[parent]);
}

// Once the parent is there, its sums can be fetched too.
void Builder::prefetchFolderOf(std::uint32_t record) {
  if (record >= table_.size()) return;
  const std::uint32_t parent = table_[record].parent;
  if (parent >= table_.size() || !table_[parent].directory()) return;
  const std::uint64_t index = table_[parent].folderIndex;
  __builtin_prefetch(&result_.folders[index].ownBytes, 1);
  if (!result_.disk.empty()) __builtin_prefetch(&result_.disk[index], 1);
}

std::uint32_t Builder::folderOfFile(std::uint32_t record) {
  const RecordEntry& file = table_[record];
  // Reserved records of the file system have no name; they are not orphans.
  if (file.nameLength == 0 && record < kFirstUserRecord) return 0;
  const RecordEntry* parent = parentOf(file);
  if (parent == nullptr || parent->level > kMostSteps) return orphans();
  return static_cast<std::uint32_t>(parent->folderIndex);
}

// What a record has that only few have; nothing if it has none of it. Records must be asked for in
// ascending order.
const SideFacts* Builder::factsOf(std::uint32_t record) {
  while (facts_ != table_.sideFacts.end() && facts_->record < record) ++facts_;
  return facts_ != table_.sideFacts.end() && facts_->record == record ? &*facts_ : nullptr;
}

// The folders' own tables and streams.
void Builder::addFolderDisk() {
  result_.disk.resize(result_.folders.size());
  markFixed();
  facts_ = table_.sideFacts.begin();
  for (const std::uint32_t record : folderRecords_) {
    FolderDisk& disk = result_.disk[table_[record].folderIndex];
    const SideFacts* facts = factsOf(record);
    const std::uint64_t streams = facts == nullptr ? 0 : facts->streams;
    disk.ownStreams = bytesOf(streams);
    disk.ownTables = bytesOf(table_[record].clusters - std::min(table_[record].clusters, streams));
    disk.addFile(disk.ownStreams, 0, !disk.fixed);
  }
}

// The root, and everything in $Extend and $Orphans.
void Builder::markFixed() {
  std::vector<FolderDisk>& disk = result_.disk;
  disk[0].fixed = true;
  if (orphans_ != kNoFolder) disk[orphans_].fixed = true;
  if (std::binary_search(folderRecords_.begin(), folderRecords_.end(), kExtendRecord)) {
    disk[table_[kExtendRecord].folderIndex].fixed = true;
  }
  std::vector<bool> known(disk.size(), false);
  known[0] = true;
  std::vector<std::uint32_t> climbed;
  for (std::uint32_t folder = 1; folder < disk.size(); ++folder) {
    climbed.clear();
    std::uint32_t at = folder;
    while (!known[at] && !disk[at].fixed) {
      climbed.push_back(at);
      at = result_.folders[at].parent;
    }
    const bool fixed = at != 0 && disk[at].fixed;
    for (const std::uint32_t one : climbed) {
      disk[one].fixed = fixed;
      known[one] = true;
    }
  }
}

FileDisk Builder::diskOf(std::uint32_t record, std::uint32_t folder) {
  const RecordEntry& file = table_[record];
  const SideFacts* facts = factsOf(record);
  FileDisk disk;
  disk.bytes = bytesOf(file.clusters);
  if (facts != nullptr) disk.streams = bytesOf(facts->streams);
  if ((file.flags & RecordEntry::kCloud) != 0) {
    const std::uint64_t held = facts == nullptr ? 0 : bytesOf(facts->data);
    disk.cloud = file.size - std::min(file.size, held);
  }
  if (taker_) return disk;
  disk.link = links_.linkOf(record, folder, disk, facts != nullptr && facts->namesLeft > 0);
  disk.comesBack = disk.link == kNoLink && record >= kFirstUserRecord &&
                   (folder == 0 || !result_.disk[folder].fixed);
  return disk;
}

// What the account says of a file in the root.
void Builder::addToAccount(std::uint32_t record, std::uint64_t bytes) {
  std::wstring name;
  table_.names.read(table_[record].name(), name);
  if (record < kFirstUserRecord) {
    if (bytes != 0) result_.volume.system.push_back({name, bytes});
  } else if (isPagingFile(name)) {
    result_.volume.paging.push_back({name, bytes});
  }
}

void Builder::keep(std::uint32_t index, std::uint32_t record, const std::wstring& name,
                   const FileDisk& disk) {
  const RecordEntry& file = table_[record];
  if (!taker_) {
    result_.files.push_back(
        {index, name, file.size, file.modified, disk.bytes, disk.cloud, disk.link});
    return;
  }
  if (index != takenFrom_) {
    takenFrom_ = index;
    takenPath_ = folderPath(result_.folders, index, result_.separator);
  }
  const std::uint64_t id = std::uint64_t{file.sequence} << 48U | record;
  taker_->take({takenPath_, name, file.size, file.modified, true, disk.bytes, disk.cloud, id});
}

void Builder::addFiles() {
  const bool withDisk = options_.sink == nullptr;
  if (!withDisk) taker_ = options_.sink->taker();
  facts_ = table_.sideFacts.begin();
  std::wstring name;
  for (std::uint32_t record = 0; record < table_.size(); ++record) {
    const RecordEntry& file = table_[record];
    prefetchParent(record + 2 * kAhead);
    prefetchFolderOf(record + kAhead);
    if (!file.seen() || file.directory()) continue;
    const std::uint32_t index = folderOfFile(record);
    if (leftOut_.contains(index)) continue;
    FolderEntry& folder = result_.folders[index];
    folder.ownBytes += file.size;
    ++folder.ownFiles;
    result_.byteCount += file.size;
    ++result_.fileCount;
    const FileDisk disk = diskOf(record, index);
    TypeTotal more = {file.size, 1};
    if (withDisk) {
      if (index == 0) addToAccount(record, disk.bytes);
      if (disk.link == kNoLink) {
        FolderDisk& sums = result_.disk[index];
        sums.addFile(disk.bytes, disk.cloud, disk.comesBack);
        more.disk = disk.bytes;
        more.cloud = disk.cloud;
        if (disk.comesBack) more.back = disk.bytes;
      }
      if (record >= kFirstUserRecord) result_.disk[index].ownStreams += disk.streams;
    }
    types_.add(file.name(), more);
    if (record < kFirstUserRecord || file.nameLength == 0) continue;
    if (file.size < options_.fileListThreshold) continue;
    if (!options_.bounds.hold(file.size, file.modified)) continue;
    table_.names.read(file.name(), name);
    if (options_.keeps(name, file.size)) keep(index, record, name, disk);
  }
  if (taker_) taker_->finish();
}

} // namespace

bool buildResult(RecordTable& table, const ScanOptions& options, ScanResult& result) {
  return Builder(table, options, result).run();
}

} // namespace vorda
