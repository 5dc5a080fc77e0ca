// Bringing a finished scan up to date with what the program itself changed on the disk,
// without another scan.
//
// Between construction and finish() the folders and their sums are always true to what
// was told so far; the list of kept files and the types follow in finish(), in one pass
// for all changes. The caller holds the job's resultMutex; the tree is summed.
#pragma once

#include "scan/scan_result.h"

#include <cstdint>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorda {

class TreeUpdate {
public:
  explicit TreeUpdate(ScanResult& result);

  // A file or folder is gone. A folder's node leaves the tree: its index stays valid and is
  // given to no other, without parent, children and bytes. What the scan had counted for it
  // leaves every ancestor; of a file that was not kept the scan knows no size, so the
  // measured one leaves. types: what was measured just before it went.
  void removePath(std::wstring_view path, std::uint64_t bytes, std::uint64_t files,
                  const TypeTotals& types);

  // A folder holds now what the survey found; typesBefore is what it held just before.
  // Folders that are there still keep their index. Returns the bytes the tree lost, 0 when
  // it grew or does not know the folder.
  std::uint64_t replaceFolder(std::wstring_view path, const ScanResult& survey,
                              const TypeTotals& typesBefore);

  // What was removed so far lies in the recycle bin now: in the user's folder of the bin,
  // which is made if its parent is in the tree, or in the bin itself when userFolder is
  // empty. whole: all of it went there. Nothing happens in a tree without that bin.
  void moveIntoBin(std::wstring_view bin, std::wstring_view userFolder, std::uint64_t bytes,
                   std::uint64_t files, bool whole);

  void finish();

private:
  using FileKey = std::pair<std::uint32_t, std::wstring>; // folder, lower-cased name

  void addToAncestors(std::uint32_t folder, std::uint64_t bytes, std::uint64_t files);
  void takeFromAncestors(std::uint32_t folder, std::uint64_t bytes, std::uint64_t files);
  void unlink(std::uint32_t folder);
  std::uint32_t addChild(std::uint32_t parent, std::wstring_view name);
  std::vector<std::uint32_t> withDescendants(std::uint32_t folder) const;
  void blank(std::uint32_t folder);
  std::vector<std::uint32_t> placesOf(const FolderTable& survey, std::uint32_t folder);

  ScanResult& result_;
  std::vector<bool> emptied_; // by folder: its kept files have left the list
  std::map<FileKey, std::uint64_t> goneFiles_;
  TypeTotals goneTypes_;
  TypeTotals newTypes_;
  std::vector<FileEntry> newFiles_;
  bool typesStay_ = false;
};

} // namespace vorda
