#include "fileops/recycle_bin.h"

#include "base/paths.h"
#include "base/text.h"
#include "rules/safety_rules.h"
#include "tree/size_tree.h"

#include <new>

namespace vorda {

namespace {

// What the shell returns for an empty bin, depending on the version of Windows.
constexpr auto kFileNotFound = static_cast<std::int32_t>(0x80070002U);
constexpr auto kUnexpected = static_cast<std::int32_t>(0x8000FFFFU);

} // namespace

std::wstring binFolder(const std::wstring& path) {
  return joinPath(path.substr(0, 2), kRecycleBinName);
}

std::wstring recycleBinFolder(Machine& machine, const std::wstring& path) {
  return binFolder(path) + L'\\' + machine.userSid();
}

bool emptyAllBins(Machine& machine, BinFigures& figures) {
  const std::optional<BinFigures> before = machine.binFigures({});
  figures = before.value_or(BinFigures{});
  const std::int32_t result = machine.emptyBins();
  const bool wasEmpty = before && before->items == 0;
  return result >= 0 || result == kFileNotFound || (result == kUnexpected && wasEmpty);
}

BinsOfDrives::BinsOfDrives(Machine& machine, FolderSource& folders)
    : machine_(machine), folders_(folders) {}

void BinsOfDrives::measure(const std::wstring& root) {
  if (!isDriveLetterPath(root) || machine_.userSid().empty()) return;
  const auto [at, added] = bins_.try_emplace(lowerUnit(root[0]));
  if (!added) return;
  at->second.folder = recycleBinFolder(machine_, root);
  at->second.before = measurePath(folders_, at->second.folder);
}

void BinsOfDrives::measureAgain() {
  for (auto& [drive, bin] : bins_) {
    try {
      bin.after = surveyFolder(folders_, bin.folder, ScanOptions{});
      // A bin that no longer exists is empty; one that cannot be read is unknown.
      bin.known = bin.after.unreadableFolders == 0 || !folders_.facts(bin.folder).exists;
    } catch (const std::bad_alloc&) {
      bin.known = false; // the bins are empty by now, so this must not fail
    }
  }
}

std::optional<std::uint64_t> BinsOfDrives::bringUpToDate(TreeUpdate& update,
                                                         const ScanResult& result) const {
  if (!isDriveLetterPath(result.rootPath)) return std::nullopt;
  const auto at = bins_.find(lowerUnit(result.rootPath[0]));
  if (at == bins_.end() || !at->second.known) return std::nullopt;
  const Bin& bin = at->second;
  if (!findFolder(result.folders, result.rootPath, bin.folder)) return std::nullopt;
  return update.replaceFolder(bin.folder, bin.after, bin.before.types);
}

} // namespace vorda
