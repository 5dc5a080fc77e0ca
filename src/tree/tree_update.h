// Updates a finished scan after deletions and cleanups, without scanning again.
//
// Folders and their totals are updated at once; the list of kept files and the types in
// finish(), in one pass for all changes. The caller holds the job's resultMutex. Requires a
// summed tree.
#pragma once

#include "scan/scan_result.h"
#include "tree/disk_update.h"

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

  // Removes a deleted file or folder. A folder's index stays valid and is not reused; its entry
  // becomes empty. Its scanned totals are subtracted from all ancestors; for a file that the
  // scan did not keep, bytes is. bytes, files and types: measured before the deletion; types have the
  // bytes on disk. isFolder: what it was then; a folder that the scan does not know changes nothing.
  // isListed: the scan would have kept such a file, so if it did not, it does not know it either.
  void removePath(std::wstring_view path, bool isFolder, std::uint64_t bytes, std::uint64_t files,
                  const TypeTotals& types, bool isListed);

  // Replaces a folder's contents by those of a new scan of it. typesBefore: its types before the
  // change. Remaining folders keep their index. Returns by how many bytes the folder shrank, 0
  // if it grew or is not in the tree.
  std::uint64_t replaceFolder(std::wstring_view path, const ScanResult& survey,
                              const TypeTotals& typesBefore);

  // Adds removed items to the recycle bin: to the user's folder in it, created if necessary, or
  // to the bin itself if userFolder is empty. whole: everything removed went there. Does nothing
  // if the bin is not in the tree.
  void moveIntoBin(std::wstring_view bin, std::wstring_view userFolder, std::uint64_t bytes,
                   std::uint64_t files, bool whole);

  void finish();

private:
  using FileKey = std::pair<std::uint32_t, std::wstring>; // folder index, lower-case name
  struct GoneFile {
    std::wstring name; // as it was deleted
    TypeTotal total;
    bool isListed = false; // if the scan knew it
    bool isExact = false;  // the list has it in the same case
    bool isMet = false;    // and its entry left the list
  };

  void addToAncestors(std::uint32_t folder, std::uint64_t bytes, std::uint64_t files);
  void takeFromAncestors(std::uint32_t folder, std::uint64_t bytes, std::uint64_t files);
  void unlink(std::uint32_t folder);
  std::uint32_t addChild(std::uint32_t parent, std::wstring_view name);
  std::vector<std::uint32_t> withDescendants(std::uint32_t folder) const;
  void clear(std::uint32_t folder);
  std::vector<std::uint32_t> placesOf(const FolderTable& survey, std::uint32_t folder);
  GoneFile* goneFileOf(const FileEntry& file);
  void unlist(TypeTotals& keptTypes);
  void listAgain();

  ScanResult& result_;
  DiskUpdate disk_;
  std::vector<bool> emptied_; // by folder: its kept files leave the list
  std::map<FileKey, GoneFile> goneFiles_;
  TypeTotals goneTypes_;
  TypeTotals newTypes_;
  std::vector<FileEntry> newFiles_;
  std::map<std::uint32_t, FileEntry> relisted_; // by link: a name of it left the list, or came
  bool typesStay_ = false;
  std::uint64_t goneBytes_ = 0; // of paths that were removed
  struct {
    std::uint32_t folder = kNoFolder;
    std::uint64_t bytes = 0;
    bool whole = false;
  } binned_;
};

} // namespace vorda
