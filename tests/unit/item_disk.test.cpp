#include "scan/item_disk.h"

#include <doctest/doctest.h>

using namespace vorda;

TEST_CASE("what a listing says is allocated, in clusters or in the file's record") {
  struct Row {
    std::uint64_t size;
    std::uint64_t allocated;
    std::uint32_t cluster;
    std::uint64_t disk;
  };
  const Row rows[] = {
      {100, 104, 4096, 0},         {700, 704, 512, 0},
      {700, 1024, 512, 1024},      {5000, 8192, 4096, 8192},
      {3 << 20, 4096, 4096, 4096}, {5000, 5120, 4096, 5120}, // a server's blocks
      {100, 104, 0, 104},          {0, 0, 0, 0},
  };
  for (const Row& row : rows) {
    FolderItem item;
    item.size = row.size;
    item.disk = row.allocated;
    CHECK(diskOf(item, row.cluster).disk == row.disk);
  }
  FolderItem unknown;
  unknown.disk = kUnknownDisk;
  unknown.size = 4097;
  CHECK(diskOf(unknown, 4096).disk == 8192);
  CHECK(diskOf(unknown, 0).disk == 4097);
}
