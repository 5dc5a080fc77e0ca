// Tests on a folder's path by names: its own, its ancestors' in the table, and the components
// of the scanned root's path above them.
#pragma once

#include "scan/scan_result.h"

#include <cstdint>
#include <string_view>
#include <vector>

namespace vorda {

class FolderNames {
public:
  // Keeps a reference to the result. Requires a summed tree.
  explicit FolderNames(const ScanResult& result);

  // Whether the folder's path ends in these components, ignoring case.
  bool endsWith(std::uint32_t folder, const std::vector<std::wstring_view>& components) const;

  // Whether the folder two levels up has this name, ignoring case.
  bool grandparentIs(std::uint32_t folder, std::wstring_view wanted) const;

  // Whether the folder or one of its nearest 256 ancestors has a name reserved for the system or
  // programs. False for an index outside the table.
  bool isProtected(std::uint32_t folder);

private:
  // Calls visit(name) from the folder's own name upwards until it returns false.
  template <typename Visit> void climb(std::uint32_t folder, Visit visit) const;

  // The number of levels up to the nearest protected name, 0 for the folder itself. Cached.
  std::uint16_t stepsToProtected(std::uint32_t folder);
  std::uint16_t stepsFromRoot() const;

  const FolderTable& folders_;
  std::vector<std::uint16_t> protectedSteps_; // by folder; filled on demand
  std::vector<std::wstring_view> rootParts_;  // of the root's path, last one first
};

// Whether folders of this name hold data that a tool can regenerate.
bool isCacheFolderName(std::wstring_view name);

} // namespace vorda
