// Why something is still there after a deletion: looked up afterwards, by asking the system for the
// right to delete it. Nothing is changed by that.
#pragma once

#include "fileops/machine.h"
#include "scan/folder_reader.h"

#include <string>
#include <string_view>
#include <vector>

namespace vorda {

enum class StayReason {
  inUse,    // another program has it open
  noRights, // this account may not delete it
  tooLong,  // its path is too long for the shell
  unknown,
};

// The word for a reason in answers.
std::string_view wordOf(StayReason reason);

struct StayedPath {
  std::wstring path;
  StayReason why = StayReason::unknown;
};

// The most paths in one answer: the first ones say what is wrong.
inline constexpr std::size_t kMostStayed = 200;

// Adds the path with its reason, or, of a folder, what in it cannot be deleted. shellCode: what the
// shell failed with, or 0.
void addStayed(Machine& machine, FolderSource& folders, const std::wstring& path, bool folder,
               int shellCode, std::vector<StayedPath>& stayed);

} // namespace vorda
