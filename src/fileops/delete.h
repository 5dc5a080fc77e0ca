// Deleting files and folders, into the recycle bin or for good.
//
// Every path is judged twice, when it is asked for and again just before the shell gets
// it; what is another file by then, or lies elsewhere, stays. Links are deleted as links.
#pragma once

#include "fileops/machine.h"
#include "fileops/measure.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vorda {

struct DeleteRequest {
  std::vector<std::wstring> paths;
  bool permanent = false;
  bool dryRun = false;
  std::wstring root; // paths must lie in it; empty for anywhere
};

struct RefusedPath {
  std::wstring path;
  std::string word;
};

// A path that the shell was asked to delete.
struct DeletedPath {
  std::wstring path;   // as asked for
  std::wstring real;   // where it really lies, which is what the shell is told
  std::wstring inTree; // the name it has in the tree of the root; empty without a root
  bool folder = false;
  PathMeasure measure; // just before
};

struct DeleteResult {
  std::uint64_t bytes = 0;          // of the deleted paths; of the files in a dry run
  std::uint64_t binned = 0;         // the part of bytes that went into the recycle bin
  std::string error;                // "", "aborted" or "failed:" and the shell's code
  std::vector<DeletedPath> deleted; // what is no longer there
  std::vector<DeletedPath> left;    // what still is; of a folder, parts may be gone
  std::vector<RefusedPath> refused;
  std::vector<DeletedPath> wouldDelete; // without what goes with another path of the list
  std::vector<std::wstring> noBin;      // dry run: those of them that no bin would take
};

// A dry run asks and measures files, and changes and logs nothing. Takes as long as the
// disk does: never called under a job's resultMutex.
DeleteResult deletePaths(Machine& machine, FolderSource& folders, const DeleteRequest& request);

} // namespace vorda
