// Builds a scan result from full paths that arrive in any order.
//
// Paths are compared as bytes: names that differ only in invalid UTF-8 stay distinct. Folders
// are looked up by parent and name, not by full path, so memory stays proportional to the input
// even for very deep paths. The builder owns the result while it lives.
#pragma once

#include "scan/scan_result.h"

#include <cstdint>
#include <string>
#include <string_view>
#include <unordered_map>
#include <vector>

namespace vorda {

class ListingTree {
public:
  // root: an absolute path in UTF-8. All three must outlive the builder.
  ListingTree(std::string_view root, const ScanOptions& options, ScanResult& result);

  // Both create missing parent folders; adding a folder again has no effect. False, without
  // any change, if the path is outside the root, a file has no name, or the sum of all sizes
  // would exceed 64 bits. modified: milliseconds since 1970 (UTC), 0 if unknown.
  bool addFolder(std::string_view path);
  bool addFile(std::string_view path, std::uint64_t bytes, std::uint64_t modified);

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
      return std::hash<std::string_view>()(key.name) * 31 + key.parent;
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

  std::string root_; // without a trailing slash; empty for "/"
  const ScanOptions& options_;
  ScanResult& result_;
  std::unordered_map<Key, std::uint32_t, KeyHash, SameKey> children_;
  std::string last_; // relative path of the most recently used folder
  std::vector<Step> steps_;
  std::wstring name_; // of the file being added; a member to reuse its buffer
};

} // namespace vorda
