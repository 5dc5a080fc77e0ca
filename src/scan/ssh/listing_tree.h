// Builds a scan result from full paths that arrive one by one, in any order.
//
// Paths are compared as bytes, so that two names which look alike once they are text stay
// two. Folders are found by parent and name and never by their whole path: the memory
// grows with the bytes that arrived, also when a path is nothing but slashes and letters.
// The result belongs to the builder while it lives.
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

  // Each makes the folders above that have not been named yet; a folder named twice is
  // one. False when the path does not lie beneath the root, or names no file, or when the
  // sum of all sizes would pass 64 bits; nothing is changed then.
  bool addFolder(std::string_view path);
  bool addFile(std::string_view path, std::uint64_t bytes, std::uint64_t modified);

  // The folder that was used last, for showing.
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
  // A component of the folder used last: where it ends in its path, and its entry.
  struct Step {
    std::size_t end;
    std::uint32_t folder;
  };

  // Takes the root off the front of a path; false when it lies elsewhere.
  bool makeRelative(std::string_view& path) const;
  std::uint32_t folderAt(std::string_view relativePath);
  std::uint32_t childOf(std::uint32_t parent, std::string_view name);
  // The folder for a scan whose root turns out to be a file.
  void becomeParentOfRoot();

  std::string root_; // without a slash at its end: empty for "/"
  const ScanOptions& options_;
  ScanResult& result_;
  std::unordered_map<Key, std::uint32_t, KeyHash, SameKey> children_;
  std::string last_; // relative path of the folder used last
  std::vector<Step> steps_;
  std::wstring name_; // of the file being added; kept for its memory
};

} // namespace vorda
