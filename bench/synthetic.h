// Synthetic scan results of any size, shaped like those of a walk.
#pragma once

#include "scan/scan_result.h"

#include <algorithm>
#include <random>

namespace vorda::bench {

// Parents before children, most folders 4 to 12 levels deep.
inline FolderTable realisticTree(std::uint32_t count) {
  std::mt19937 random(11);
  FolderTable folders(count);
  folders[0].name = L"C:\\";
  for (std::uint32_t i = 1; i < count; ++i) {
    // Breadth first: parents come from a window of lower indices.
    const std::uint32_t low = i / 9;
    const std::uint32_t high = std::max(i / 5, 1U);
    folders[i].parent = low + static_cast<std::uint32_t>(random()) % (high - low + 1);
    if (folders[i].parent >= i) folders[i].parent = i - 1;
    folders[i].name = L"folder " + std::to_wstring(i);
    folders[i].ownBytes = random() % 10'000'000;
    folders[i].ownFiles = random() % 20;
  }
  return folders;
}

inline void fillFiles(ScanResult& result, std::uint32_t count) {
  std::mt19937 random(5);
  result.files.reserve(count);
  for (std::uint32_t i = 0; i < count; ++i) {
    const auto folder = static_cast<std::uint32_t>(random() % result.folders.size());
    result.files.push_back({folder, L"document " + std::to_wstring(i) + L".pdf",
                            random() % 1'000'000'000, 1'700'000'000'000ULL + i});
  }
}

} // namespace vorda::bench
