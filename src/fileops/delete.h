// Deleting files and folders, into the recycle bin or for good.
//
// Every path is judged twice: when it is requested and again right before it is passed to the
// shell. A path that leads to a different file or place by then is not deleted, nor one that is no
// longer what the client saw. Links are deleted as links.
#pragma once

#include "fileops/copy_proof.h"
#include "fileops/machine.h"
#include "fileops/measure.h"
#include "fileops/why_stayed.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vorda {

struct DeleteRequest {
  std::vector<std::wstring> paths;
  bool permanent = false;
  bool dryRun = false;
  std::wstring root;              // the folder that paths must lie in; empty for no restriction
  bool wantSeen = false;          // a dry run says what it sees
  bool wantWhy = false;           // say why something is still there
  std::vector<Expected> expected; // one for each path, or none at all
  std::uint64_t nowMs = 0;        // since 1970
};

struct RefusedPath {
  std::wstring path;
  Refusal why = Refusal::none;
};

// A path that was, or would be, passed to the shell.
struct DeletedPath {
  std::wstring path;   // as requested, normalised
  std::wstring real;   // the resolved path, which is what the shell gets
  std::wstring inTree; // the path in the tree of the root; empty without a root
  bool folder = false;
  PathMeasure measure; // taken right before the deletion
  Loss lost;           // of a folder that is still there
  // Its drive or share was not there any more afterwards, so nobody knows what went. Listed as left.
  bool outOfReach = false;
  Seen seen; // what it was then
};

struct DeleteResult {
  // Of the deleted paths, and what went from inside others; in a dry run of those that are files.
  std::uint64_t bytes = 0;
  std::uint64_t binned = 0; // how many of them went into the recycle bin
  // "", "aborted", "failed:" with the shell's code, or kNoMemory if memory ran out meanwhile
  std::string error;
  // Nothing is known about what is gone: there was no memory to look. The journal stays, and the
  // lines for the log are written later.
  bool unknown = false;
  bool logged = true;               // false if the log could not be written
  std::vector<DeletedPath> deleted; // no longer there
  std::vector<DeletedPath> left;    // still there, or out of reach; parts of a folder may be gone
  std::vector<StayedPath> stayed;   // why, or what inside them is the reason
  std::vector<RefusedPath> refused;
  std::vector<DeletedPath> wouldDelete; // without paths inside other paths of the list
  std::vector<std::wstring> noBin;      // in a dry run: those that no bin would take
};

// A dry run only judges the paths, and measures them if it says what it sees: it changes and logs
// nothing. The call blocks on the disk, so it must not be made while a job's resultMutex is held.
// An exception means that nothing was deleted.
DeleteResult deletePaths(Machine& machine, FolderSource& folders, FileKeeper& keeper,
                         const DeleteRequest& request);

} // namespace vorda
