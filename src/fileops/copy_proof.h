// Makes sure that a file is still what its client saw, and that another copy of it stays, before
// it is deleted.
//
// The proof holds the files that it looked at until it is destroyed: what was proven stays true
// while the shell deletes.
#pragma once

#include "fileops/file_keeper.h"

#include <map>
#include <memory>
#include <optional>
#include <string>

namespace vorda {

// What a client expects of a path that it wants to have deleted.
struct Expected {
  std::optional<Seen> seen;     // what it saw
  bool unusable = false;        // it sent something, but nothing that fits this path
  std::wstring keep;            // the copy that must stay; empty for none
  std::optional<Seen> keepSeen; // what it saw of that copy

  // Whether contents matter, or only what can be seen without reading.
  bool comparesContents() const { return !keep.empty() || (seen && seen->contents); }
};

// How long contents count as read, in milliseconds.
inline constexpr std::uint64_t kReadIsFreshMs = 60'000;

class CopyProof {
public:
  CopyProof(FileKeeper& keeper, std::uint64_t nowMs) : keeper_(keeper), nowMs_(nowMs) {}

  // Whether the file at the path, and the copy that stays, are as expected. Reads them unless
  // that was done less than a minute ago and nothing changed since.
  bool prove(const std::wstring& path, const Expected& expected);

  // Whether a proven file, looked at by its path, is still the one that was read.
  bool isStill(const std::wstring& path, const Seen& now) const;

  // Lets go of all files; one that was deleted disappears only then.
  void release();

private:
  struct Kept {
    std::unique_ptr<KeptFile> file; // null if it cannot be kept
    Seen state;
    std::optional<SeenContents> contents; // read now
  };

  Kept& kept(std::map<std::wstring, Kept>& files, const std::wstring& path, KeepFor what);
  bool isFresh(const Kept& one, const std::optional<Seen>& seen) const;
  static bool readNow(Kept& one);

  FileKeeper& keeper_;
  std::uint64_t nowMs_;
  std::map<std::wstring, Kept> going_;
  std::map<std::wstring, Kept> staying_;
};

} // namespace vorda
