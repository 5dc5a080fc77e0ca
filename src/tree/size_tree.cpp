#include "tree/size_tree.h"

#include "base/paths.h"
#include "base/text.h"
#include "tree/disk_keys.h"

#include <algorithm>
#include <numeric>
#include <vector>

namespace vorda {

namespace {

constexpr std::int32_t kDepthUnknown = -1;
constexpr std::int32_t kDepthOnPath = -2; // on the path being followed upwards

// Cuts the parent links of a cycle: the entries of climbed from metAgain to the end.
void cutCycle(FolderTable& folders, const std::vector<std::uint32_t>& climbed,
              std::uint32_t metAgain) {
  for (auto at = climbed.rbegin(); at != climbed.rend(); ++at) {
    folders[*at].parent = kNoFolder;
    if (*at == metAgain) break;
  }
}

void setDepths(FolderTable& folders) {
  std::vector<std::uint32_t> climbed;
  for (std::uint32_t i = 0; i < folders.size(); ++i) {
    climbed.clear();
    std::uint32_t at = i;
    while (at < folders.size() && folders[at].depth == kDepthUnknown) {
      folders[at].depth = kDepthOnPath;
      climbed.push_back(at);
      at = folders[at].parent;
    }
    if (at >= folders.size()) {
      if (!climbed.empty()) folders[climbed.back()].parent = kNoFolder;
    } else if (folders[at].depth == kDepthOnPath) {
      cutCycle(folders, climbed, at);
    }
    for (auto entry = climbed.rbegin(); entry != climbed.rend(); ++entry) {
      const std::uint32_t parent = folders[*entry].parent;
      folders[*entry].depth = parent == kNoFolder ? 1 : folders[parent].depth + 1;
    }
  }
}

// The subfolders written individually, largest first, and the totals of the others.
struct ShownChildren {
  std::vector<std::uint32_t> kept;
  std::uint64_t restCount = 0;
  std::uint64_t restBytes = 0;
  std::uint64_t restFiles = 0;
  DiskKeys restDisk;
};

using Disk = std::vector<FolderDisk>;

ShownChildren shownChildren(const FolderTable& folders, const TreeOptions& options,
                            std::uint32_t index, const Disk* disk) {
  ShownChildren shown;
  shown.restDisk.back = 0;
  const auto weight = [&folders, disk](std::uint32_t folder) {
    const std::uint64_t bytes = folders[folder].totalBytes;
    return disk == nullptr ? bytes : std::max(bytes, (*disk)[folder].totalDisk);
  };
  std::vector<std::uint32_t> others;
  for (std::uint32_t child = folders[index].firstChild; child != kNoFolder;
       child = folders[child].nextSibling) {
    (weight(child) >= options.minBytes ? shown.kept : others).push_back(child);
  }
  const auto larger = [&weight](std::uint32_t a, std::uint32_t b) {
    const std::uint64_t left = weight(a);
    const std::uint64_t right = weight(b);
    return left != right ? left > right : a < b;
  };
  const auto limit = static_cast<std::size_t>(std::max(options.maxChildren, 0));
  const std::size_t count = std::min(limit, shown.kept.size());
  const auto cut = shown.kept.begin() + static_cast<std::ptrdiff_t>(count);
  std::partial_sort(shown.kept.begin(), cut, shown.kept.end(), larger);
  others.insert(others.end(), cut, shown.kept.end());
  shown.kept.erase(cut, shown.kept.end());
  for (const std::uint32_t child : others) {
    if (weight(child) == 0) continue;
    ++shown.restCount;
    shown.restBytes += folders[child].totalBytes;
    shown.restFiles += folders[child].totalFiles;
    if (disk == nullptr) continue;
    shown.restDisk.disk += (*disk)[child].totalDisk;
    *shown.restDisk.back += (*disk)[child].totalBack;
    shown.restDisk.cloud += (*disk)[child].totalCloud;
  }
  return shown;
}

// An entry of a node's children that is no folder.
struct RestEntry {
  const char* kind;
  std::uint64_t bytes;
  std::uint64_t files;
  DiskKeys disk;
};

void writeRest(JsonWriter& json, const RestEntry& rest, const std::uint64_t* count,
               const Disk* disk) {
  json.open('{');
  json.string("n", "");
  json.string("rk", rest.kind);
  if (count != nullptr) json.number("rn", *count);
  json.number("s", rest.bytes);
  json.number("f", rest.files);
  if (disk != nullptr) writeDiskKeys(json, rest.disk);
  json.boolean("rest", true);
  json.close('}');
}

bool isSlash(wchar_t unit) { return unit == L'/'; }

// The child with exactly this name, or else one that differs only in case. Names from ssh scans
// are case-sensitive.
std::uint32_t childNamed(const FolderTable& folders, std::uint32_t parent, std::wstring_view name) {
  std::uint32_t alike = kNoFolder;
  for (std::uint32_t child = folders[parent].firstChild; child != kNoFolder;
       child = folders[child].nextSibling) {
    if (folders[child].name == name) return child;
    if (alike == kNoFolder && equalsIgnoreCase(folders[child].name, name)) alike = child;
  }
  return alike;
}

} // namespace

// A counting sort.
std::vector<std::uint32_t> deepestFirst(const FolderTable& folders) {
  std::int32_t greatest = 0;
  for (const FolderEntry& folder : folders) greatest = std::max(greatest, folder.depth);
  const auto bucketOf = [greatest](const FolderEntry& folder) {
    return static_cast<std::size_t>(greatest - folder.depth);
  };
  std::vector<std::uint32_t> next(static_cast<std::size_t>(greatest) + 2, 0);
  for (const FolderEntry& folder : folders) ++next[bucketOf(folder) + 1];
  std::partial_sum(next.begin(), next.end(), next.begin());
  std::vector<std::uint32_t> order(folders.size());
  for (std::uint32_t i = 0; i < folders.size(); ++i) order[next[bucketOf(folders[i])]++] = i;
  return order;
}

void sumTree(FolderTable& folders, ScanProgress& progress) {
  if (folders.empty()) return;
  progress.phase = kPhaseSumming;
  progress.setStatus(ScanStatus::summing);
  for (FolderEntry& folder : folders) {
    folder.totalBytes = folder.ownBytes;
    folder.totalFiles = folder.ownFiles;
    folder.firstChild = kNoFolder;
    folder.nextSibling = kNoFolder;
    folder.depth = kDepthUnknown;
  }
  folders[0].parent = kNoFolder;
  folders[0].depth = 0;
  setDepths(folders);
  for (const std::uint32_t index : deepestFirst(folders)) {
    const FolderEntry& folder = folders[index];
    if (folder.parent == kNoFolder) continue;
    folders[folder.parent].totalBytes += folder.totalBytes;
    folders[folder.parent].totalFiles += folder.totalFiles;
  }
  for (auto index = static_cast<std::uint32_t>(folders.size()); index-- > 0;) {
    FolderEntry& folder = folders[index];
    if (folder.parent == kNoFolder) continue;
    folder.nextSibling = folders[folder.parent].firstChild;
    folders[folder.parent].firstChild = index;
  }
  progress.phase = kPhaseFinished;
}

std::optional<std::uint32_t> findFolder(const FolderTable& folders, std::wstring_view rootPath,
                                        std::wstring_view path) {
  if (folders.empty()) return std::nullopt;
  // In names from ssh scans, "\" is an ordinary character.
  const auto separates = isSshPath(rootPath) ? isSlash : isSeparator;
  const auto trimmed = [separates](std::wstring_view text) {
    if (!text.empty() && separates(text.back())) text.remove_suffix(1);
    return text;
  };
  const std::wstring_view root = trimmed(rootPath);
  const std::wstring_view wanted = trimmed(path);
  if (equalsIgnoreCase(wanted, root)) return 0;
  if (!startsWithIgnoreCase(wanted, root) || !separates(wanted[root.size()])) return std::nullopt;
  std::uint32_t at = 0;
  for (const std::wstring_view part : pathComponents(wanted.substr(root.size()), separates)) {
    at = childNamed(folders, at, part);
    if (at == kNoFolder) return std::nullopt;
  }
  return at;
}

void writeTreeNode(const FolderTable& folders, std::wstring_view rootPath,
                   const TreeOptions& options, JsonWriter& json, std::uint32_t index,
                   std::int32_t depth, const Disk* disk) {
  const FolderEntry& folder = folders[index];
  json.open('{');
  json.string("n", depth == 0 ? rootPath : std::wstring_view(folder.name));
  json.number("s", folder.totalBytes);
  json.number("f", folder.totalFiles);
  if (disk != nullptr) writeDiskKeys(json, totalKeys((*disk)[index]));
  json.number("i", index);
  DiskKeys loose;
  if (disk != nullptr) {
    const FolderDisk& own = (*disk)[index];
    loose = {own.ownDisk + own.ownTables, own.ownBack, own.ownCloud};
  }
  const bool anyLoose = folder.ownBytes != 0 || loose.disk != 0;
  if (depth < options.maxDepth && folder.firstChild != kNoFolder) {
    const ShownChildren shown = shownChildren(folders, options, index, disk);
    const bool anyRest = shown.restBytes != 0 || shown.restDisk.disk != 0;
    if (!shown.kept.empty() || anyLoose || anyRest) {
      json.open("c", '[');
      for (const std::uint32_t child : shown.kept) {
        writeTreeNode(folders, rootPath, options, json, child, depth + 1, disk);
      }
      if (anyRest) {
        writeRest(json, {"smaller", shown.restBytes, shown.restFiles, shown.restDisk},
                  &shown.restCount, disk);
      }
      if (anyLoose)
        writeRest(json, {"loose", folder.ownBytes, folder.ownFiles, loose}, nullptr, disk);
      json.close(']');
    }
  }
  json.close('}');
}

} // namespace vorda
