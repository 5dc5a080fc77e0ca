// Questions about where a folder lies, answered from names alone: the folder's own, its
// ancestors' in the table, and the components of the scanned root's path above those.
#pragma once

#include "scan/scan_result.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace vorda {

class FolderNames {
public:
  // Keeps a reference to the result; the tree must be summed.
  explicit FolderNames(const ScanResult& result);

  // Whether the last components of the folder's path are these, in this order, ignoring
  // case. Not tied to a drive's root.
  bool endsWith(std::uint32_t folder, const std::vector<std::wstring_view>& components) const;

  // Whether the name two levels above the folder is this one.
  bool grandparentIs(std::uint32_t folder, std::wstring_view wanted) const;

  // Whether the folder or one of its nearest 256 ancestors has a name under which
  // programs and systems keep what is theirs. A folder outside the table is not.
  bool isProtected(std::uint32_t folder);

private:
  // Calls visit(name) from the folder's own name upwards until it returns false.
  template <typename Visit> void climb(std::uint32_t folder, Visit visit) const;

  // How far above a folder the nearest protected name stands, itself being 0; each
  // folder is worked out once.
  std::uint16_t stepsToProtected(std::uint32_t folder);
  std::uint16_t stepsFromRoot() const;

  const FolderTable& folders_;
  std::vector<std::uint16_t> protectedSteps_; // by folder; filled as it is asked for
  std::vector<std::wstring_view> rootParts_;  // of the root's path, from the last upwards
};

// Whether a folder of this name holds what a tool can make again.
bool isCacheFolderName(std::wstring_view name);

} // namespace vorda
