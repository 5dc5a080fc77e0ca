// The recycle bins, and the part of them that scans show.
#pragma once

#include "fileops/machine.h"
#include "fileops/measure.h"
#include "tree/tree_update.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace vorda {

// The folder of all bins on the drive of a path "X:\…".
std::wstring binFolder(const std::wstring& path);

// The folder of this user's bin on the drive of a path "X:\…".
std::wstring recycleBinFolder(Machine& machine, const std::wstring& path);

// Empties the bins of all drives. figures receives what they held, as far as the shell knows.
// False on failure; empty bins are not a failure.
bool emptyAllBins(Machine& machine, BinFigures& figures);

// This user's bin on each of several drives, before and after it is emptied.
class BinsOfDrives {
public:
  BinsOfDrives(Machine& machine, FolderSource& folders);

  // Measures the bin on the drive of a scanned root, unless that was done already.
  void measure(const std::wstring& root);
  // Measures the same bins again.
  void measureAgain();

  // Updates the bin in the tree of a scan. Returns by how many bytes the tree shrank; nothing
  // if the tree does not contain the bin or the bin could not be read.
  std::optional<std::uint64_t> bringUpToDate(TreeUpdate& update, const ScanResult& result) const;

private:
  struct Bin {
    std::wstring folder;
    PathMeasure before;
    ScanResult after;
    bool known = false;
  };

  Machine& machine_;
  FolderSource& folders_;
  std::map<wchar_t, Bin> bins_; // by lower-case drive letter
};

} // namespace vorda
