// Decides whether a path may be deleted: first by its spelling, then by what the system would
// actually open.
//
// One file can be reached through many paths: 8.3 names, trailing dots, substituted drives,
// links, shares of this machine. Each form that the system derives from a path - the full
// path, the long path, the entry in its resolved parent folder, its own final path - must pass
// the same rules and lie in the same root. What cannot be determined is refused.
//
// Make one judge per request: it caches what it finds out about folders.
#pragma once

#include "fileops/machine.h"
#include "scan/folder_reader.h"

#include <map>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

struct Verdict {
  Refusal refusal = Refusal::none;
  std::wstring path; // normalised: "\" for "/", no trailing "\"
  std::wstring real; // the resolved path; a link itself is not followed
  PathFacts facts;
  std::optional<FileIdentity> identity;
};

class PathJudge {
public:
  // root: the folder that paths must lie in; empty for no restriction.
  PathJudge(Machine& machine, FolderSource& folders, const std::wstring& root);

  Verdict judge(std::wstring_view path);

  // The refusal of a protected folder found while another folder is traversed, recognised by
  // its identity; none for any other folder. The last safeguard, for what the forms of a path
  // do not show.
  Refusal refusalOfFolder(const std::wstring& path, std::wstring_view name);

  // The path that a resolved path inside the root has in the tree of the root; empty outside.
  std::wstring inTree(const std::wstring& real) const;

private:
  struct Guard {
    std::wstring path;
    std::optional<FileIdentity> identity;
    Refusal refusal;
    bool recursive;
  };

  Refusal judgeForms(Verdict& verdict);
  Refusal refusalOfForm(std::wstring_view form, const std::wstring& root) const;
  Refusal refusalOfPlace(const Verdict& verdict);
  Refusal refusalInside(const std::wstring& folder);
  const std::optional<FinalPlace>& finalOf(const std::wstring& folder);
  void guard(const std::wstring& path, Refusal refusal, bool recursive);

  Machine& machine_;
  FolderSource& folders_;
  std::wstring root_;
  std::wstring fullRoot_;
  std::wstring longRoot_;
  std::wstring finalRoot_;
  std::vector<Guard> guards_;
  std::vector<Guard> above_; // the ancestors of guarded folders
  std::map<std::wstring, std::optional<FinalPlace>> finals_;
  std::map<std::wstring, Refusal> inside_; // by folder: why nothing in it may be deleted
};

// Whether the shell could take a path for a different one: it contains control characters,
// lone surrogates, file system wildcards or a second colon.
bool hasStrayCharacters(std::wstring_view path);

} // namespace vorda
