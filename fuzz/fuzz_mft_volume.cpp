// Whole volumes: whatever the records say, names, links and bytes on disk stay consistent.
//
// The input replaces the records behind the first one of a small volume; their update sequences are made
// right, so that damage reaches the attributes.
#include "scan/turbo/turbo_scan.h"
#include "support/mft_volume.h"
#include "tree/account.h"
#include "tree/disk_sums.h"

#include <cstdlib>
#include <cstring>

namespace {

constexpr std::size_t kTable = 64 * 512;
constexpr std::size_t kRecord = 1024;
constexpr std::size_t kRecords = 32;
using vorda::test::Bytes;
using vorda::test::put;

void putHead(Bytes& image, std::size_t record, bool folder) {
  const std::size_t at = kTable + record * kRecord;
  std::memcpy(image.data() + at, "FILE", 4);
  put(image, at + 16, 1, 2);
  put(image, at + 20, 64, 2);
  put(image, at + 22, folder ? 3 : 1, 2);
  put(image, at + 24, kRecord, 4);
  put(image, at + 64, 0xFFFFFFFF, 4);
}

Bytes volumeWith(const std::uint8_t* data, std::size_t size) {
  Bytes image(kTable + kRecords * kRecord);
  std::memcpy(image.data() + 3, "NTFS    ", 8);
  put(image, 11, 512, 2);
  put(image, 13, 1, 1);
  put(image, 40, 0x10000, 8);
  put(image, 48, 64, 8);
  put(image, 64, 0xF6, 1);
  putHead(image, 0, false);
  const std::size_t at = kTable + 64; // the table's own data: 64 clusters from 64 on
  put(image, at, 0x80, 4);
  put(image, at + 4, 72, 4);
  put(image, at + 8, 1, 1);
  put(image, at + 32, 64, 2);
  put(image, at + 48, kRecords * kRecord, 8);
  put(image, at + 64, 0x404011, 3);
  put(image, at + 72, 0xFFFFFFFF, 4);
  putHead(image, 5, true);
  for (std::size_t record = 6; record < kRecords; ++record) putHead(image, record, record % 3 == 0);
  // Each piece of input is an offset in the records behind the root and 16 bytes for it.
  for (std::size_t from = 0; from + 18 <= size; from += 18) {
    const std::size_t where = data[from] | std::size_t{data[from + 1]} << 8U;
    const std::size_t begin = kTable + 6 * kRecord + where % ((kRecords - 6) * kRecord - 16);
    std::memcpy(image.data() + begin, data + from + 2, 16);
  }
  for (std::size_t record = 0; record < kRecords; ++record) {
    const std::size_t head = kTable + record * kRecord;
    put(image, head + 4, 48, 2);
    put(image, head + 6, 3, 2);
    put(image, head + 48, 0x4711, 2);
    for (std::size_t stride = 1; stride <= 2; ++stride) {
      std::memcpy(image.data() + head + 48 + 2 * stride, image.data() + head + stride * 512 - 2, 2);
      put(image, head + stride * 512 - 2, 0x4711, 2);
    }
  }
  return image;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const Bytes image = volumeWith(data, size);
  vorda::ScanProgress progress;
  vorda::ScanOptions options;
  options.root = L"d:";
  options.fileListThreshold = 0;
  vorda::ScanResult result;
  const auto open = [&image](wchar_t) {
    return vorda::OpenedVolume{std::make_unique<vorda::test::MemoryVolume>(image), {}};
  };
  if (!vorda::turboScan(open, progress, options, result)) return 0;
  result.volume.wholeVolume = true;
  vorda::sumScan(result, progress);
  std::uint64_t disk = 0;
  for (const vorda::FolderDisk& folder : result.disk) {
    disk += folder.ownDisk + folder.ownTables;
    if (folder.totalBack > folder.totalDisk) std::abort();
  }
  if (disk != result.disk[0].totalDisk) std::abort();
  for (const vorda::LinkedFile& file : result.links.files) {
    if (file.count == 0 || file.first + file.count > result.links.names.size()) std::abort();
  }
  const vorda::Account account = vorda::accountOf(result);
  std::uint64_t rows = 0;
  for (const vorda::AccountRow& row : account.rows) rows += row.info ? 0 : row.bytes.value_or(0);
  if (rows != disk) std::abort();
  return 0;
}
