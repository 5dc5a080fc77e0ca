// The recycle bins of this machine, and what scans know of them.
#pragma once

#include "fileops/machine.h"
#include "fileops/measure.h"
#include "tree/tree_update.h"

#include <cstdint>
#include <map>
#include <optional>
#include <string>

namespace vorda {

// The folder of all users' bins on the drive of a path "X:\…".
std::wstring binFolder(const std::wstring& path);

// The folder of this user's bin on the drive of a path "X:\…".
std::wstring recycleBinFolder(Machine& machine, const std::wstring& path);

// Empties the bins of all drives and tells what was in them, as far as that is known.
// False when the shell failed; an empty bin is no failure.
bool emptyAllBins(Machine& machine, BinFigures& figures);

// This user's bin on every drive that is asked for, before and after it was emptied.
class BinsOfDrives {
public:
  BinsOfDrives(Machine& machine, FolderSource& folders);

  // Of the drive of a scanned root, if it has one; each drive once.
  void measure(const std::wstring& root);
  void measureAgain();

  // Sets the bin in a scan's tree to what it holds now. Returns the bytes the tree lost;
  // nothing when it does not hold that bin, or the bin could not be read.
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
  std::map<wchar_t, Bin> bins_; // by lower-cased drive letter
};

} // namespace vorda
