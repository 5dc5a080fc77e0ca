#include "fileops/why_stayed.h"

#include "base/paths.h"
#include "fileops/remove_tree.h"

#include <algorithm>
#include <memory>
#include <optional>
#include <utility>

namespace vorda {

namespace {

constexpr int kAccessDenied = 5;      // ERROR_ACCESS_DENIED
constexpr int kSharingViolation = 32; // ERROR_SHARING_VIOLATION
constexpr int kLockViolation = 33;    // ERROR_LOCK_VIOLATION
constexpr int kShellDenied = 0x78;    // DE_ACCESSDENIEDSRC
constexpr int kShellTooDeep = 0x79;   // DE_PATHTOODEEP
constexpr std::size_t kMostLooks = 5'000;
constexpr std::size_t kMostOfOne = 20; // paths inside one folder

std::optional<StayReason> reasonOf(int code) {
  switch (code) {
  case kSharingViolation:
  case kLockViolation: return StayReason::inUse;
  case kAccessDenied:
  case kShellDenied: return StayReason::noRights;
  case kShellTooDeep: return StayReason::tooLong;
  default: return std::nullopt;
  }
}

// What inside a folder the system does not let go of.
void addInside(Machine& machine, FolderSource& folders, const std::wstring& path,
               std::vector<StayedPath>& stayed) {
  struct Pending {
    std::wstring path;
    bool literal;
  };
  const std::size_t most = std::min(kMostStayed, stayed.size() + kMostOfOne);
  const std::unique_ptr<FolderReader> reader = folders.reader();
  std::vector<Pending> pending = {{path, false}};
  std::size_t looks = 0;
  while (!pending.empty()) {
    const Pending folder = std::move(pending.back());
    pending.pop_back();
    if (!reader->open(folder.path, folder.literal)) continue;
    FolderItem item;
    while (reader->next(item)) {
      if (stayed.size() >= most || ++looks > kMostLooks) return;
      std::wstring below = joinPath(folder.path, item.name);
      const bool enters = item.folder && !item.reparsePoint;
      const auto why = reasonOf(machine.deletionProblem(below, item.folder));
      if (why) {
        stayed.push_back({std::move(below), *why});
      } else if (enters) {
        pending.push_back({std::move(below), folder.literal || losesItsEnd(item.name)});
      }
    }
  }
}

} // namespace

std::string_view wordOf(StayReason reason) {
  switch (reason) {
  case StayReason::inUse: return "inuse";
  case StayReason::noRights: return "norights";
  case StayReason::tooLong: return "toolong";
  case StayReason::unknown: return "unknown";
  }
  return {};
}

void addStayed(Machine& machine, FolderSource& folders, const std::wstring& path, bool folder,
               int shellCode, std::vector<StayedPath>& stayed) {
  if (stayed.size() >= kMostStayed) return;
  const std::size_t before = stayed.size();
  if (folder) addInside(machine, folders, path, stayed);
  if (stayed.size() > before) return;
  auto why = reasonOf(machine.deletionProblem(path, folder));
  if (!why && isTooLongForShell(path, {})) why = StayReason::tooLong;
  // One failing path is enough for the shell to stop, so its code may be about another one.
  if (!why) why = reasonOf(shellCode);
  stayed.push_back({path, why.value_or(StayReason::unknown)});
}

} // namespace vorda
