// Builds a scan result from full paths that arrive in any order.
//
// Paths are compared as bytes: names that differ only in invalid UTF-8 stay distinct. Folders
// are looked up by parent and name, not by full path, so memory stays proportional to the input
// even for very deep paths. The builder owns the result while it lives.
#pragma once

#include "base/keyed_hash.h"
#include "scan/scan_result.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vorda {

// What a host can make this process hold.
struct ListingLimits {
  std::uint64_t entries = 20'000'000;    // files and folders
  std::uint64_t bytes = 1'073'741'824;   // of the tree, estimated
  std::uint64_t fileBytes = 1ULL << 56U; // a larger file is none
};

class ListingTree {
public:
  // root: an absolute path in UTF-8. All three must outlive the builder.
  ListingTree(std::string_view root, const ScanOptions& options, ScanResult& result,
              const ListingLimits& limits = {});

  // Both create missing parent folders; adding a folder again has no effect. False, without
  // any change, if the path is outside the root, if a file has no name, or if the builder is
  // full. A file whose size is absurd, or would make the sum exceed 64 bits, is skipped: false.
  // modified: milliseconds since 1970 (UTC), 0 if unknown.
  bool addFolder(std::string_view path);
  bool addFile(std::string_view path, std::uint64_t bytes, std::uint64_t modified);

  // Counts an entry that cannot be read.
  void skipEntry() { ++result_.skippedFolders; }

  // A limit is reached; what follows is not added.
  bool full() const { return entries_ >= limits_.entries || bytes_ >= limits_.bytes; }

  // The most recently used folder, for display.
  std::wstring currentFolder() const;

private:
  struct Key {
    std::uint32_t parent;
    std::string name;
  };
  struct KeyView {
    std::uint32_t parent;
    std::string_view name;
  };
  struct KeyHash {
    using is_transparent = void;
    template <typename K> std::size_t operator()(const K& key) const {
      return static_cast<std::size_t>(keyedHash(key.name)) * 31 + key.parent;
    }
  };
  struct SameKey {
    using is_transparent = void;
    template <typename A, typename B> bool operator()(const A& a, const B& b) const {
      return a.parent == b.parent && a.name == b.name;
    }
  };
  // A component of last_: its end offset and its folder index.
  struct Step {
    std::size_t end;
    std::uint32_t folder;
  };

  // Removes the root from the front of a path; false if the path is outside the root.
  bool makeRelative(std::string_view& path) const;
  std::uint32_t folderAt(std::string_view relativePath);
  std::uint32_t childOf(std::uint32_t parent, std::string_view name);
  // For a scan whose root is a file: its folder becomes the root.
  void becomeParentOfRoot();
  bool isRootItself(std::string_view path) const;

  std::string root_; // without a trailing slash; empty for "/"
  const ScanOptions& options_;
  ScanResult& result_;
  const ListingLimits limits_;
  std::uint64_t entries_ = 0;
  std::uint64_t bytes_ = 0;
  std::unordered_map<Key, std::uint32_t, KeyHash, SameKey> children_;
  std::string last_; // relative path of the most recently used folder
  std::vector<Step> steps_;
  std::wstring name_; // of the file being added; a member to reuse its buffer
};

} // namespace vorda
