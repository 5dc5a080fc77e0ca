// Sums the bytes on disk of a scan, and keeps the sums right when names of files go.
#pragma once

#include "scan/progress.h"
#include "scan/scan_result.h"

#include <cstdint>
#include <string>
#include <vector>

namespace vorda {

// Shares out the files with several names and adds every folder to its ancestors. Requires a
// summed tree; to be called once, by the job's own thread. Does nothing without disk figures.
void sumDisk(ScanResult& result);

// sumTree and sumDisk, as every finished scan needs them.
void sumScan(ScanResult& result, ScanProgress& progress);

// Adds the bytes of a file with several names to the folders and the type that they count in, or takes
// them away again. In between, its names may change.
void attachLink(ScanResult& result, const LinkedFile& file);
// Sorts the names of a file by path, or as turbo found them. While it is detached.
void orderNames(ScanResult& result, const LinkedFile& file);
void detachLink(ScanResult& result, const LinkedFile& file);

// Adds to a folder's totals and those of its ancestors; negative numbers take away.
struct DiskChange {
  std::int64_t disk = 0;
  std::int64_t back = 0;
  std::int64_t cloud = 0;
};
void changeTotals(ScanResult& result, std::uint32_t folder, const DiskChange& by);

// Some folders and files of a scan, none inside another.
struct Selection {
  struct File {
    std::uint32_t folder = 0;
    std::wstring name;
    std::uint64_t disk = 0; // as measured, for files that the scan does not list
  };
  std::vector<std::uint32_t> folders;
  std::vector<File> files;
};

// What comes back if all of them go together, as far as the scan knows.
struct Promise {
  std::uint64_t back = 0;
  std::uint64_t shared = 0; // stays on the disk, because it has other names elsewhere
};
Promise promiseOf(const ScanResult& result, const Selection& selection);

} // namespace vorda
