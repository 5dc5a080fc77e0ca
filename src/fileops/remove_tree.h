// Deleting for good without the shell: what the shell cannot name, and folders with links in them,
// which some shells follow.
#pragma once

#include "fileops/machine.h"
#include "fileops/measure.h"
#include "scan/folder_reader.h"

#include <functional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// The longest path that the shell's file operations accept, in UTF-16 units without the NUL.
inline constexpr std::size_t kLongestForShell = 259;

// Something to be deleted, by its resolved path.
struct Doomed {
  std::wstring real;
  EntryFacts facts;
  PathMeasure measure; // taken before
};

// Whether a path, or one inside it, is too long for the shell and so for the recycle bin.
bool isTooLongForShell(const std::wstring& real, const PathMeasure& measure);

// Whether a folder may be entered and deleted; asked for each one.
using MayEnter = std::function<bool(const std::wstring& path, std::wstring_view name)>;

// Deletes for good: what the shell can be trusted with in one call of the shell, the rest one by
// one, contents first. Links are deleted as links; one that cannot be opened as such stays, and
// with it the folder that it is in.
ShellOutcome removeForGood(Machine& machine, FolderSource& folders,
                           const std::vector<Doomed>& doomed, const MayEnter& mayEnter);

} // namespace vorda
