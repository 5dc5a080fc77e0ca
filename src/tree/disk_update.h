// Keeps the bytes on disk of a finished scan right while TreeUpdate changes its tree.
//
// Files with several names are taken out of all sums as soon as one of their names goes, and put back by
// finish() with the names that are left. Where sizes count at the first name only (turbo), that is done to
// the sizes as well. Does nothing for a result without disk figures.
#pragma once

#include "scan/scan_result.h"
#include "tree/disk_sums.h"

#include <cstdint>
#include <string_view>
#include <utility>
#include <vector>

namespace vorda {

class DiskUpdate {
public:
  explicit DiskUpdate(ScanResult& result) : result_(result) {}

  // A folder goes with everything below it: gone lists its folders, itself first. Call before they
  // are cleared.
  void removeFolder(const std::vector<std::uint32_t>& gone);

  // A file goes. gone: its figures if it has only one name; of one with several names they are set.
  // Returns whether its size is dealt with.
  bool removeFile(std::uint32_t folder, std::wstring_view name, TypeTotal& gone);

  // A folder has other contents than before: before lists its folders, places the folders of the
  // survey in this tree. The second call follows when the tree has been changed.
  void releaseContents(const std::vector<std::uint32_t>& before);
  void setContents(const std::vector<std::uint32_t>& places, const ScanResult& survey);

  // Sets the place in the link table of the files that a survey kept.
  void linkKept(const ScanResult& survey, std::vector<FileEntry>& files) const;

  // A new folder in the tree.
  void addFolder();

  // What went, or this share of it, is now in this folder of the recycle bin.
  void moveInto(std::uint32_t bin, double share) {
    bin_ = bin;
    share_ = share;
  }

  // What the files with several names add to these totals by type, which were measured, is taken
  // out of them: they are dealt with here.
  void finish(TypeTotals& goneTypes, TypeTotals& newTypes);

private:
  // The names of a link in these folders, or with this name in a folder, go.
  template <typename Goes> void release(std::uint32_t link, Goes goes);
  void countSize(const LinkedFile& file);
  void uncountSize(const LinkedFile& file);
  void releaseIn(const std::vector<std::uint32_t>& folders);
  void indexNames();
  std::uint32_t linkOf(std::uint32_t folder, std::uint32_t hash) const;

  ScanResult& result_;
  std::vector<std::pair<std::uint32_t, std::uint32_t>> byFolder_; // folder and link, sorted
  bool indexed_ = false;
  std::vector<std::uint32_t> released_; // links that are out of the sums
  std::vector<bool> isReleased_;
  using NameOfLink = std::pair<std::uint32_t, LinkName>;
  void takeFromTypes(TypeTotals& types, const NameOfLink& name) const;

  std::vector<NameOfLink> goneNames_;
  std::vector<NameOfLink> returnedNames_; // went, but a survey found them again
  std::uint64_t goneDisk_ = 0;
  std::uint64_t goneCloud_ = 0;
  std::uint32_t bin_ = kNoFolder;
  double share_ = 0;
};

} // namespace vorda
