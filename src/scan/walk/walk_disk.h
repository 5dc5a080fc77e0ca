// What a walk finds out about bytes on disk: the figures of each worker, and how they become those of
// the result.
//
// A listing tells a file's allocation and identity, but not how many names it has. So the identities of
// all files are kept until the walk ends; those met more than once are the files with several names.
#pragma once

#include "scan/item_disk.h"
#include "scan/scan_result.h"

#include <string>
#include <unordered_map>
#include <vector>

namespace vorda {

// Totals by type whose types have numbers.
class NumberedTypes {
public:
  std::uint32_t add(std::wstring_view fileName, const TypeTotal& more);
  const std::vector<std::wstring>& types() const { return types_; }
  void moveInto(TypeTotals& totals);

private:
  std::unordered_map<std::wstring, std::uint32_t, KeyedTextHash, std::equal_to<>> numbers_;
  std::vector<std::wstring> types_;
  std::vector<TypeTotal> totals_;
};

// The files that a worker met.
struct MetFiles {
  std::vector<MetFile> files; // those with an identity
  NumberedTypes types;
  std::vector<AccountPart> paging; // in the root of a drive
  std::uint64_t unlistedFiles = 0;
  std::uint64_t unlistedBytes = 0;
  bool told = false;    // some allocation was told
  bool guessed = false; // some was not
};

// Finds the files with several names and moves them from the folders' own figures to the link table; marks
// the kept files among them. Empties the workers' lists.
void addLinks(std::vector<MetFiles*>& workers, ScanResult& result);

} // namespace vorda
