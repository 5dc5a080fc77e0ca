// Reads a volume in memory by turbo.
#pragma once

#include "scan/turbo/turbo_scan.h"
#include "support/app.h"
#include "support/mft_volume.h"

#include <functional>
#include <set>

namespace vorda::test {

inline const std::uint64_t kRoot = reference(5, 5);

struct Reading {
  bool ok = false;
  std::string failure;
  ScanResult result;
};

inline OpenVolume opens(Bytes image, const std::function<void(MemoryVolume&)>& change = {}) {
  return [image = std::move(image), change](wchar_t) {
    auto volume = std::make_unique<MemoryVolume>(image);
    if (change) change(*volume);
    return OpenedVolume{std::move(volume), {}};
  };
}

inline Reading reading(const OpenVolume& open, ScanProgress& progress) {
  ScanOptions options;
  options.root = L"d:";
  options.fileListThreshold = 1;
  options.namePatterns = {L"*"};
  Reading one;
  one.ok = turboScan(open, progress, options, one.result);
  one.failure = progress.texts().failure;
  if (one.ok) sumScan(one.result, progress);
  return one;
}

inline Reading reading(const OpenVolume& open) {
  ScanProgress progress;
  return reading(open, progress);
}

inline std::string wordOf(Bytes image) { return reading(opens(std::move(image))).failure; }

// "path size" of every kept file, relative to the root, and "@time" if it has one.
inline std::set<std::wstring> listed(const Reading& read) {
  REQUIRE(read.ok);
  std::set<std::wstring> lines;
  for (const FileEntry& file : read.result.files) {
    lines.insert(filePath(read.result, file).substr(3) + L" " + std::to_wstring(file.size) +
                 (file.modified == 0 ? L"" : L" @" + std::to_wstring(file.modified)));
  }
  CHECK(lines.size() == read.result.files.size());
  return lines;
}

using Lines = std::set<std::wstring>;

} // namespace vorda::test
