// Whether a path may be deleted: first by its spelling, then by what the system would
// really open for it.
//
// A path has many spellings: short aliases, trailing dots, substituted drives, links on
// the way, shares of this very machine. Each form the system makes of it - the full path,
// the long one, the place its parent folder turns out to be, its own - has to pass the
// same rules and lie inside the same root. What cannot be told is refused.
//
// One judge serves one request: it remembers what it learnt about folders.
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
  std::string word;  // why not; empty when the path may be deleted
  std::wstring path; // as judged: "\" for "/", no trailing "\"
  std::wstring real; // where it really lies, a link itself not followed
  PathFacts facts;
  std::optional<FileIdentity> identity;
};

class PathJudge {
public:
  // root: the folder that paths must lie in, or empty for anywhere.
  PathJudge(Machine& machine, FolderSource& folders, const std::wstring& root);

  // The words of deleteRefusal, then "outside", "ambiguous" and "missing".
  Verdict judge(std::wstring_view path);

  // The word of a guarded folder that was met on the way through another one, if it is one:
  // a last net under all that the forms of a path can tell. Empty for any other folder.
  std::string wordOfFolder(const std::wstring& path, std::wstring_view name);

  // A place in the root under the name it has in the root's own tree.
  std::wstring inTree(const std::wstring& real) const;

private:
  struct Guard {
    std::wstring path;
    std::optional<FileIdentity> identity;
    std::string word;
    bool beneath;
  };

  std::string judgeForms(Verdict& verdict);
  std::string refusalOfForm(std::wstring_view form, const std::wstring& root) const;
  std::string refusalOfPlace(const Verdict& verdict);
  const std::optional<FinalPlace>& finalOf(const std::wstring& folder);
  const std::string& wordAround(const std::wstring& folder);
  void guard(const std::wstring& path, const std::string& word, bool beneath);

  Machine& machine_;
  FolderSource& folders_;
  std::wstring root_;
  std::wstring fullRoot_;
  std::wstring longRoot_;
  std::wstring finalRoot_;
  std::vector<Guard> guards_;
  std::vector<Guard> above_; // the folders that a guarded one lies in
  std::map<std::wstring, std::optional<FinalPlace>> finals_;
  std::map<std::wstring, std::string> words_; // of folders: why nothing in them may go
};

// Whether the shell could read a path as another one than it is spelled, from characters
// that no name has, or that stand for more than one name: control characters, lone
// surrogates, a colon behind the drive's. Also a path longer than the shell takes.
bool hasStrayCharacters(std::wstring_view path);

} // namespace vorda
