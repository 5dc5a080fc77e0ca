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

// The end of a name that decides its type, as it is spelt; spares making the type's key
// for each file.
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
      // With a letter in front, a leading dot is no longer one that hides a file.
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
  static constexpr std::size_t kMost = 13; // enough to tell that a type is too long for one

  struct Ending {
    std::array<std::uint16_t, 16> units{}; // in whole words, for the hash
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
    // No dot, or nothing but the dot before or behind it: the ending stays empty.
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

// Which folders of the table a search leaves out, with all that lies in them.
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

// Folders keep their index in the result and their distance from the root where files
// have size and time.
class Builder {
public:
  Builder(MftTable& table, const ScanOptions& options, ScanResult& result)
      : table_(table), options_(options), result_(result), types_(table.names),
        leftOut_(options, result) {}

  bool run() {
    if (table_.size() <= kRootRecord) return false;
    const MftEntry& root = table_[kRootRecord];
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
  static constexpr std::uint64_t kUnknown = 0;
  static constexpr std::uint64_t kClimbing = std::numeric_limits<std::uint64_t>::max();
  // Steps to the root are kept plus one.
  static std::uint64_t& stepsOf(MftEntry& folder) { return folder.modified; }
  static std::uint64_t& indexOf(MftEntry& folder) { return folder.size; }

  bool isFolder(std::uint32_t record) {
    return table_[record].seen() && table_[record].directory();
  }

  // The folder that an entry's reference means; null when there is none like that.
  MftEntry* parentOf(const MftEntry& entry) {
    if (entry.nameLength == 0 || entry.parent >= table_.size()) return nullptr;
    MftEntry& parent = table_[entry.parent];
    const bool same = entry.parentSequence == 0 || entry.parentSequence == parent.sequence;
    return parent.seen() && parent.directory() && same ? &parent : nullptr;
  }

  void addFolders();
  void placeFolders();
  void place(MftEntry& folder);
  void climbed(MftEntry& folder, const MftEntry* parent);
  void addFiles();
  void keep(std::uint32_t index, const std::wstring& name, const MftEntry& file);
  std::uint32_t folderOfFile(std::uint32_t record);
  std::uint32_t orphans();

  MftTable& table_;
  const ScanOptions& options_;
  ScanResult& result_;
  TypeTally types_;
  std::vector<MftEntry*> climb_;
  std::uint32_t orphans_ = kNoFolder;
  LeftOutFolders leftOut_;
  std::unique_ptr<FileTaker> taker_; // when there is a sink
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
    MftEntry& entry = table_[record];
    stepsOf(entry) = kUnknown;
    indexOf(entry) = 0;
    if (record == kRootRecord) continue;
    indexOf(entry) = result_.folders.size();
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

// Hangs a folder beneath its parent, whose place is known by now, or beneath the orphans.
void Builder::climbed(MftEntry& folder, const MftEntry* parent) {
  const bool reaches = parent != nullptr && parent->modified <= kMostSteps;
  const std::uint32_t above = reaches ? static_cast<std::uint32_t>(parent->size) : orphans();
  stepsOf(folder) = reaches ? parent->modified + 1 : 3;
  result_.folders[indexOf(folder)].parent = above;
}

void Builder::place(MftEntry& folder) {
  climb_.clear();
  MftEntry* at = &folder;
  while (at != nullptr && stepsOf(*at) == kUnknown) {
    stepsOf(*at) = kClimbing;
    climb_.push_back(at);
    at = parentOf(*at);
  }
  if (at != nullptr && stepsOf(*at) == kClimbing) {
    // Round in a circle: each folder of it is an orphan.
    const MftEntry* metAgain = at;
    do {
      at = climb_.back();
      climb_.pop_back();
      climbed(*at, nullptr);
    } while (at != metAgain);
  }
  while (!climb_.empty()) {
    MftEntry* next = climb_.back();
    climb_.pop_back();
    climbed(*next, at);
    at = next;
  }
}

void Builder::placeFolders() {
  stepsOf(table_[kRootRecord]) = 1;
  for (std::uint32_t record = 0; record < table_.size(); ++record) {
    if (isFolder(record)) place(table_[record]);
  }
}

std::uint32_t Builder::folderOfFile(std::uint32_t record) {
  const MftEntry& file = table_[record];
  // The reserved records of the file system have no names, and nothing is wrong with them.
  if (file.nameLength == 0 && record < kFirstUserRecord) return 0;
  const MftEntry* parent = parentOf(file);
  if (parent == nullptr || parent->modified > kMostSteps) return orphans();
  return static_cast<std::uint32_t>(parent->size);
}

void Builder::keep(std::uint32_t index, const std::wstring& name, const MftEntry& file) {
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
    const MftEntry& file = table_[record];
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
    table_.names.read(file.name(), name);
    if (options_.keeps(name, file.size)) keep(index, name, file);
  }
  taker_.reset();
}

} // namespace

bool buildResult(MftTable& table, const ScanOptions& options, ScanResult& result) {
  return Builder(table, options, result).run();
}

} // namespace vorda
