#include "scan/turbo/tree_build.h"

#include "base/text.h"

#include <algorithm>
#include <array>
#include <bit>
#include <limits>
#include <memory>
#include <unordered_map>

namespace vorda {

namespace {

// Totals by file extension as spelled, so that type keys are computed once per extension and
// not once per file.
class TypeTally {
public:
  explicit TypeTally(const NamePool& names) : names_(names) {}

  void add(const PooledName& name, std::uint64_t bytes) {
    const Ending ending = endingOf(name);
    if (last_ == nullptr || last_->first != ending) last_ = &*totals_.try_emplace(ending).first;
    last_->second.bytes += bytes;
    ++last_->second.files;
  }

  void moveInto(TypeTotals& types) const {
    for (const auto& [ending, total] : totals_) {
      // Without the "x", a name that starts with a dot would have no type.
      std::wstring name = L"x";
      for (std::size_t i = 0; i < ending.length; ++i) {
        name.push_back(static_cast<wchar_t>(ending.units[i]));
      }
      TypeTotal& sum = types[typeKeyOf(name)];
      sum.bytes += total.bytes;
      sum.files += total.files;
    }
  }

private:
  static constexpr std::size_t kMost = 13; // from this length on, the type is "(other)"

  struct Ending {
    std::array<std::uint16_t, 16> units{}; // whole 64-bit words, for the hash
    std::size_t length = 0;
    bool operator==(const Ending&) const = default;
  };

  struct EndingHash {
    std::size_t operator()(const Ending& ending) const {
      std::uint64_t hash = ending.length;
      for (const std::uint64_t word : std::bit_cast<std::array<std::uint64_t, 4>>(ending.units)) {
        hash = (hash ^ word) * 0x9E37'79B9'7F4A'7C15ULL;
        hash ^= hash >> 32U;
      }
      return static_cast<std::size_t>(hash);
    }
  };

  Ending endingOf(const PooledName& name) const {
    Ending ending;
    const NamePool::Units units = names_.units(name);
    std::size_t dot = name.length;
    while (dot > 0 && units[dot - 1] != '.') --dot;
    // No dot, or only a leading or trailing one: no extension.
    if (dot <= 1 || dot == name.length) return ending;
    ending.length = std::min<std::size_t>(name.length - (dot - 1), kMost);
    for (std::size_t i = 0; i < ending.length; ++i) ending.units[i] = units[dot - 1 + i];
    return ending;
  }

  using Totals = std::unordered_map<Ending, TypeTotal, EndingHash>;
  const NamePool& names_;
  Totals totals_;
  Totals::value_type* last_ = nullptr;
};

// The folders in options.leftOut and everything below them.
class LeftOutFolders {
public:
  LeftOutFolders(const ScanOptions& options, const ScanResult& result)
      : paths_(options.leftOut), result_(result) {}

  bool contains(std::uint32_t folder) {
    if (paths_.empty()) return false;
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

private:
  static constexpr char kUnknown = 0;
  static constexpr char kIn = 1;
  static constexpr char kOut = 2;

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
        leftOut_(options, result) {}

  bool run() {
    if (table_.size() <= kRootRecord) return false;
    const RecordEntry& root = table_[kRootRecord];
    if (!root.seen() || !root.directory()) return false;
    addFolders();
    placeFolders();
    addFiles();
    types_.moveInto(result_.types);
    for (std::uint32_t folder = 0; folder < result_.folders.size(); ++folder) {
      if (!leftOut_.contains(folder)) ++result_.folderCount;
    }
    return true;
  }

private:
  static constexpr std::uint64_t kUnknownLevel = 0;
  static constexpr std::uint64_t kRootLevel = 1;
  static constexpr std::uint64_t kOrphanLevel = kRootLevel + 2; // below "$Orphans"
  static constexpr std::uint64_t kClimbing = std::numeric_limits<std::uint64_t>::max();

  bool isFolder(std::uint32_t record) {
    return table_[record].seen() && table_[record].directory();
  }

  // The parent folder of an entry; null if it is missing or has been replaced.
  RecordEntry* parentOf(const RecordEntry& entry) {
    if (entry.nameLength == 0 || entry.parent >= table_.size()) return nullptr;
    RecordEntry& parent = table_[entry.parent];
    const bool same = entry.parentSequence == 0 || entry.parentSequence == parent.sequence;
    return parent.seen() && parent.directory() && same ? &parent : nullptr;
  }

  void addFolders();
  void placeFolders();
  void place(RecordEntry& folder);
  void climbed(RecordEntry& folder, const RecordEntry* parent);
  void addFiles();
  void keep(std::uint32_t index, const std::wstring& name, const RecordEntry& file);
  std::uint32_t folderOfFile(std::uint32_t record);
  std::uint32_t orphans();

  RecordTable& table_;
  const ScanOptions& options_;
  ScanResult& result_;
  TypeTally types_;
  std::vector<RecordEntry*> climb_;
  std::uint32_t orphans_ = kNoFolder;
  LeftOutFolders leftOut_;
  std::unique_ptr<FileTaker> taker_; // only with a sink
  std::uint32_t takenFrom_ = kNoFolder;
  std::wstring takenPath_;
};

void Builder::addFolders() {
  std::uint32_t count = 0;
  for (std::uint32_t record = 0; record < table_.size(); ++record) {
    if (isFolder(record)) ++count;
  }
  result_.folders.reserve(std::size_t{count} + 1);
  result_.folders.emplace_back().name = result_.rootPath;
  for (std::uint32_t record = 0; record < table_.size(); ++record) {
    if (!isFolder(record)) continue;
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
  climb_.clear();
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
  for (std::uint32_t record = 0; record < table_.size(); ++record) {
    if (isFolder(record)) place(table_[record]);
  }
}

std::uint32_t Builder::folderOfFile(std::uint32_t record) {
  const RecordEntry& file = table_[record];
  // Reserved records of the file system have no name; they are not orphans.
  if (file.nameLength == 0 && record < kFirstUserRecord) return 0;
  const RecordEntry* parent = parentOf(file);
  if (parent == nullptr || parent->level > kMostSteps) return orphans();
  return static_cast<std::uint32_t>(parent->folderIndex);
}

void Builder::keep(std::uint32_t index, const std::wstring& name, const RecordEntry& file) {
  if (!taker_) {
    result_.files.push_back({index, name, file.size, file.modified});
    return;
  }
  if (index != takenFrom_) {
    takenFrom_ = index;
    takenPath_ = folderPath(result_.folders, index, result_.separator);
  }
  taker_->take({takenPath_, name, file.size, file.modified});
}

void Builder::addFiles() {
  if (options_.sink != nullptr) taker_ = options_.sink->taker();
  std::wstring name;
  for (std::uint32_t record = 0; record < table_.size(); ++record) {
    const RecordEntry& file = table_[record];
    if (!file.seen() || file.directory()) continue;
    const std::uint32_t index = folderOfFile(record);
    if (leftOut_.contains(index)) continue;
    FolderEntry& folder = result_.folders[index];
    folder.ownBytes += file.size;
    ++folder.ownFiles;
    result_.byteCount += file.size;
    ++result_.fileCount;
    types_.add(file.name(), file.size);
    if (record < kFirstUserRecord || file.nameLength == 0) continue;
    if (file.size < options_.fileListThreshold) continue;
    if (!options_.bounds.hold(file.size, file.modified)) continue;
    table_.names.read(file.name(), name);
    if (options_.keeps(name, file.size)) keep(index, name, file);
  }
  if (taker_) taker_->finish();
  taker_.reset();
}

} // namespace

bool buildResult(RecordTable& table, const ScanOptions& options, ScanResult& result) {
  return Builder(table, options, result).run();
}

} // namespace vorda
