#include "tree/advice.h"

#include "base/paths.h"
#include "base/text.h"
#include "json/size_text.h"
#include "rules/safety_rules.h"
#include "tree/folder_names.h"

#include <algorithm>
#include <optional>

namespace vorda {

namespace {

constexpr std::uint64_t kMiB = 1ULL << 20;
constexpr std::uint64_t kGiB = 1ULL << 30;
constexpr std::uint64_t kRecycleBinOver = 1 * kGiB;
constexpr std::uint64_t kTempFilesOver = 1 * kGiB;
constexpr std::uint64_t kUpdatesOver = 1 * kGiB;
constexpr std::uint64_t kDownloadsOver = 20 * kGiB;
constexpr std::uint64_t kSystemFilesOver = 10 * kGiB;
constexpr std::uint64_t kOldFilesOver = 5 * kGiB;
constexpr std::uint64_t kOldAfterMs = 31'536'000'000ULL; // 365 days
constexpr std::uint64_t kDuplicatesOver = 2 * kGiB;
constexpr std::uint64_t kCacheFolderFrom = 500 * kMiB;
constexpr std::uint64_t kCachesOver = 2 * kGiB;
constexpr std::uint64_t kInstallerOver = 5 * kGiB;
constexpr std::uint32_t kDeniedOver = 50;
constexpr std::size_t kTempPathsListed = 8;
constexpr std::size_t kOldFilesListed = 25;
constexpr std::size_t kDuplicateGroupsListed = 8;
constexpr int kMaxClimb = 256;

using Components = std::vector<std::wstring_view>;

class Adviser {
public:
  Adviser(const ScanResult& result, std::uint64_t nowMs)
      : result_(result), folders_(result.folders), names_(result), nowMs_(nowMs) {}

  std::vector<Finding> build();

private:
  // Fills the lists below in one pass over the table; the root is in none of them.
  void collect();
  std::optional<std::uint32_t> largest(const std::vector<std::uint32_t>& indices) const;
  std::wstring pathOf(std::uint32_t index) const {
    return folderPath(folders_, index, result_.separator);
  }
  FindingItem folderItem(std::uint32_t index) const {
    return {pathOf(index), folders_[index].totalBytes, folders_[index].totalFiles, 0, 0};
  }
  FindingItem fileItem(const FileEntry& file, std::uint32_t group) const {
    return {filePath(result_, file), file.size, 1, group, file.modified};
  }
  // A finding about one whole folder.
  Finding folderFinding(const char* code, const char* level, std::uint32_t index) const;

  std::vector<std::vector<const FileEntry*>> alikeFiles();

  void recycleBin();
  void tempFiles();
  void updates();
  void downloads();
  void systemFiles();
  void oldFiles();
  void duplicates();
  void caches();
  void installer();
  void denied();

  const ScanResult& result_;
  const FolderTable& folders_;
  FolderNames names_;
  std::uint64_t nowMs_;
  std::vector<std::uint32_t> bins_;
  std::vector<std::uint32_t> temps_;
  std::vector<std::uint32_t> updates_;
  std::vector<std::uint32_t> downloads_;
  std::vector<std::uint32_t> installers_;
  std::vector<std::uint32_t> caches_; // large enough to count, including nested ones
  std::vector<Finding> findings_;
};

std::vector<Finding> Adviser::build() {
  if (folders_.empty()) return {};
  collect();
  recycleBin();
  tempFiles();
  updates();
  downloads();
  systemFiles();
  oldFiles();
  duplicates();
  caches();
  installer();
  denied();
  std::stable_sort(findings_.begin(), findings_.end(),
                   [](const Finding& a, const Finding& b) { return a.bytes > b.bytes; });
  return std::move(findings_);
}

void Adviser::collect() {
  using namespace std::string_view_literals;
  static const Components kWindowsTemp = {L"Windows", L"Temp"};
  static const Components kUserTemp = {L"AppData", L"Local", L"Temp"};
  static const Components kUpdates = {L"SoftwareDistribution", L"Download"};
  static const Components kInstaller = {L"Windows", L"Installer"};
  for (std::uint32_t i = 1; i < folders_.size(); ++i) {
    const std::wstring& name = folders_[i].name;
    const std::uint64_t bytes = folders_[i].totalBytes;
    if (equalsIgnoreCase(name, kRecycleBinName)) {
      bins_.push_back(i);
    } else if (equalsIgnoreCase(name, L"Temp"sv)) {
      if (names_.endsWith(i, kWindowsTemp) || names_.endsWith(i, kUserTemp)) temps_.push_back(i);
    } else if (equalsIgnoreCase(name, L"Download"sv)) {
      if (names_.endsWith(i, kUpdates)) updates_.push_back(i);
    } else if (equalsIgnoreCase(name, L"Downloads"sv)) {
      if (names_.grandparentIs(i, L"Users")) downloads_.push_back(i);
    } else if (equalsIgnoreCase(name, L"Installer"sv)) {
      if (names_.endsWith(i, kInstaller)) installers_.push_back(i);
    } else if (bytes >= kCacheFolderFrom && isCacheFolderName(name)) {
      caches_.push_back(i);
    }
  }
}

std::optional<std::uint32_t> Adviser::largest(const std::vector<std::uint32_t>& indices) const {
  const auto at =
      std::max_element(indices.begin(), indices.end(), [this](std::uint32_t a, std::uint32_t b) {
        return folders_[a].totalBytes < folders_[b].totalBytes;
      });
  if (at == indices.end()) return std::nullopt;
  return *at;
}

Finding Adviser::folderFinding(const char* code, const char* level, std::uint32_t index) const {
  Finding finding;
  finding.code = code;
  finding.level = level;
  finding.bytes = folders_[index].totalBytes;
  finding.count = 1;
  finding.fileCount = folders_[index].totalFiles;
  finding.target = pathOf(index);
  return finding;
}

void Adviser::recycleBin() {
  const auto bin = largest(bins_);
  if (!bin || folders_[*bin].totalBytes <= kRecycleBinOver) return;
  Finding finding = folderFinding("recyclebin", "warning", *bin);
  finding.items.push_back(folderItem(*bin));
  findings_.push_back(std::move(finding));
}

void Adviser::tempFiles() {
  Finding finding;
  finding.code = kTempFilesAdvice;
  finding.level = "warning";
  for (const std::uint32_t index : temps_) {
    finding.bytes += folders_[index].totalBytes;
    finding.fileCount += folders_[index].totalFiles;
    if (finding.items.size() < kTempPathsListed) finding.items.push_back(folderItem(index));
  }
  if (finding.bytes <= kTempFilesOver) return;
  finding.count = finding.items.size();
  finding.target = pathOf(*largest(temps_));
  findings_.push_back(std::move(finding));
}

void Adviser::updates() {
  const auto first = std::find_if(updates_.begin(), updates_.end(), [this](std::uint32_t i) {
    return folders_[i].totalBytes > kUpdatesOver;
  });
  if (first == updates_.end()) return;
  Finding finding = folderFinding(kUpdatesAdvice, "warning", *first);
  finding.items.push_back(folderItem(*first));
  findings_.push_back(std::move(finding));
}

void Adviser::downloads() {
  const auto folder = largest(downloads_);
  if (!folder || folders_[*folder].totalBytes <= kDownloadsOver) return;
  Finding finding = folderFinding("downloads", "serious", *folder);
  finding.count = finding.fileCount;
  findings_.push_back(std::move(finding));
}

void Adviser::systemFiles() {
  Finding finding;
  finding.code = "sysfiles";
  finding.level = "good";
  for (const FileEntry& file : result_.files) {
    const bool known = equalsIgnoreCase(file.name, L"pagefile.sys") ||
                       equalsIgnoreCase(file.name, L"hiberfil.sys") ||
                       equalsIgnoreCase(file.name, L"swapfile.sys");
    if (file.folder != 0 || !known) continue;
    finding.bytes += file.size;
    ++finding.count;
    finding.notes.push_back(toUtf8(filePath(result_, file)) + "  -  " + formatSize(file.size));
  }
  if (finding.bytes <= kSystemFilesOver) return;
  finding.fileCount = finding.count;
  findings_.push_back(std::move(finding));
}

void Adviser::oldFiles() {
  Finding finding;
  finding.code = "oldfiles";
  finding.level = "serious";
  std::vector<const FileEntry*> old;
  for (const FileEntry& file : result_.files) {
    const bool aged =
        file.modified > 0 && nowMs_ > file.modified && nowMs_ - file.modified > kOldAfterMs;
    if (!aged || names_.isProtected(file.folder)) continue;
    finding.bytes += file.size;
    old.push_back(&file);
  }
  if (finding.bytes <= kOldFilesOver) return;
  finding.count = old.size();
  finding.fileCount = old.size();
  keepLargest(result_, old, kOldFilesListed);
  for (const FileEntry* file : old) finding.items.push_back(fileItem(*file, 0));
  finding.target = pathOf(old.front()->folder);
  findings_.push_back(std::move(finding));
}

// Groups of two or more non-empty files of the same size and name outside protected folders.
std::vector<std::vector<const FileEntry*>> Adviser::alikeFiles() {
  struct Sized {
    std::uint64_t size; // copied, so that sorting rarely follows the pointer
    const FileEntry* file;
  };
  std::vector<Sized> bySize;
  bySize.reserve(result_.files.size());
  for (const FileEntry& file : result_.files) {
    if (file.size > 0) bySize.push_back({file.size, &file});
  }
  std::sort(bySize.begin(), bySize.end(), [](const Sized& a, const Sized& b) {
    return a.size != b.size ? a.size > b.size : compareIgnoreCase(a.file->name, b.file->name) < 0;
  });
  std::vector<std::vector<const FileEntry*>> groups;
  for (auto from = bySize.begin(); from != bySize.end();) {
    const auto to = std::find_if_not(from, bySize.end(), [from](const Sized& other) {
      return other.size == from->size && equalsIgnoreCase(other.file->name, from->file->name);
    });
    std::vector<const FileEntry*> members;
    for (auto at = from; to - from > 1 && at != to; ++at) {
      if (!names_.isProtected(at->file->folder)) members.push_back(at->file);
    }
    from = to;
    if (members.size() > 1) groups.push_back(std::move(members));
  }
  return groups;
}

void Adviser::duplicates() {
  using Members = std::vector<const FileEntry*>;
  Finding finding;
  finding.code = "duplicates";
  finding.level = "serious";
  const auto wasted = [](const Members& group) { return (group.size() - 1) * group[0]->size; };
  std::vector<Members> repeated = alikeFiles();
  for (const Members& group : repeated) {
    finding.bytes += wasted(group);
    finding.fileCount += group.size() - 1;
  }
  if (finding.bytes <= kDuplicatesOver) return;
  finding.count = repeated.size();
  const auto byPath = [this](const FileEntry* a, const FileEntry* b) {
    return comparePaths(result_, *a, *b) < 0;
  };
  for (Members& group : repeated) std::sort(group.begin(), group.end(), byPath);
  const std::size_t listed = std::min(repeated.size(), kDuplicateGroupsListed);
  std::partial_sort(repeated.begin(), repeated.begin() + static_cast<std::ptrdiff_t>(listed),
                    repeated.end(), [&](const Members& a, const Members& b) {
                      return wasted(a) != wasted(b) ? wasted(a) > wasted(b)
                                                    : byPath(a.front(), b.front());
                    });
  repeated.resize(listed);
  std::uint32_t number = 0;
  for (const Members& group : repeated) {
    ++number;
    const FileEntry& first = *group.front();
    finding.notes.push_back(std::to_string(group.size()) + "x  " + toUtf8(first.name) + "  -  " +
                            formatSize(first.size));
    for (const FileEntry* file : group) finding.items.push_back(fileItem(*file, number));
  }
  findings_.push_back(std::move(finding));
}

void Adviser::caches() {
  std::vector<bool> marked(folders_.size());
  std::vector<std::uint32_t> candidates = caches_;
  for (const std::uint32_t index : candidates) marked[index] = true;
  std::erase_if(candidates, [this, &marked](std::uint32_t index) {
    std::uint32_t at = folders_[index].parent;
    for (int step = 0; step < kMaxClimb && at != kNoFolder && at != 0; ++step) {
      if (marked[at]) return true;
      at = folders_[at].parent;
    }
    return false;
  });
  Finding finding;
  finding.code = "caches";
  finding.level = "warning";
  for (const std::uint32_t index : candidates) {
    finding.bytes += folders_[index].totalBytes;
    finding.fileCount += folders_[index].totalFiles;
  }
  if (finding.bytes <= kCachesOver) return;
  finding.count = candidates.size();
  std::stable_sort(candidates.begin(), candidates.end(), [this](std::uint32_t a, std::uint32_t b) {
    return folders_[a].totalBytes > folders_[b].totalBytes;
  });
  for (const std::uint32_t index : candidates) finding.items.push_back(folderItem(index));
  findings_.push_back(std::move(finding));
}

void Adviser::installer() {
  const auto folder = largest(installers_);
  if (!folder || folders_[*folder].totalBytes <= kInstallerOver) return;
  findings_.push_back(folderFinding("installer", "good", *folder));
}

void Adviser::denied() {
  if (result_.unreadableFolders <= kDeniedOver) return;
  Finding finding;
  finding.code = "denied";
  finding.level = "good";
  finding.count = result_.unreadableFolders;
  findings_.push_back(std::move(finding));
}

} // namespace

std::vector<Finding> buildAdvice(const ScanResult& result, std::uint64_t nowMs) {
  return Adviser(result, nowMs).build();
}

} // namespace vorda
