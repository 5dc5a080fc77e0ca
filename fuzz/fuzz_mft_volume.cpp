// Whole volumes: whatever the records say, names, links and bytes on disk stay consistent.
//
// The input replaces the records behind the first one of a small volume; their update sequences are made
// right, so that damage reaches the attributes.
#include "scan/turbo/turbo_scan.h"
#include "support/mft_volume.h"
#include "tree/account.h"
#include "tree/disk_sums.h"

#include <cstdlib>

using namespace vorda::test;

namespace {

constexpr std::size_t kTable = 64 * 512;
constexpr std::size_t kRecord = 1024;
constexpr std::size_t kRecords = 32;

void putRecord(Bytes& image, std::size_t record, bool folder,
               const std::vector<Patch>& attributes = {{64, 0xFFFFFFFF, 4}}) {
  Bytes bytes = bytesOf(kRecord, attributes);
  put(bytes, 0, 0x454C4946, 4); // FILE
  put(bytes, 16, 1, 2);
  put(bytes, 20, 64, 2);
  put(bytes, 22, folder ? 3 : 1, 2);
  put(bytes, 24, kRecord, 4);
  std::copy_n(bytes.data(), kRecord, image.data() + kTable + record * kRecord);
}

Bytes volumeWith(const std::uint8_t* data, std::size_t size) {
  TestVolume volume;
  volume.sectors = 0x10000;
  Bytes image = volume.image();
  image.resize(kTable + kRecords * kRecord);
  putRecord(image, 0, false, // its own data: 64 clusters from 64 on
            {{64, 0x80, 4},
             {68, 72, 4},
             {72, 1, 1},
             {96, 64, 2},
             {112, kRecords * kRecord, 8},
             {128, 0x404011, 3},
             {136, 0xFFFFFFFF, 4}});
  for (std::size_t record = 5; record < kRecords; ++record) {
    putRecord(image, record, record == 5 || record % 3 == 0);
  }
  // Each piece of input is an offset in the records behind the root and 16 bytes for it.
  for (std::size_t from = 0; from + 18 <= size; from += 18) {
    const std::size_t where = data[from] | std::size_t{data[from + 1]} << 8U;
    const std::size_t begin = kTable + 6 * kRecord + where % ((kRecords - 6) * kRecord - 16);
    std::copy_n(data + from + 2, 16, image.data() + begin);
  }
  for (std::size_t record = 0; record < kRecords; ++record) {
    protect(image, kTable + record * kRecord, kRecord);
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
