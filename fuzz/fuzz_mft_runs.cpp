// Run lists: no run extends past the volume, whose size is taken from the first bytes.
#include "scan/turbo/run_list.h"

#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const vorda::ByteView input(data, size);
  const std::uint64_t clusters = (input.u64(0) >> 1U) >> (input.u8(8) % 64);
  std::vector<vorda::Extent> extents;
  const bool whole = vorda::decodeRuns(input.from(9), clusters, extents);
  std::uint64_t count = 0;
  const bool counted = vorda::countClusters(input.from(9), clusters, count);
  if (counted && count > clusters) std::abort();
  if (whole && counted) {
    for (const vorda::Extent& one : extents) count -= one.count;
    if (count != 0) std::abort();
  }
  if (extents.size() > size / 3) std::abort();
  for (const vorda::Extent& one : extents) {
    if (one.count == 0 || one.cluster >= clusters || one.count > clusters - one.cluster)
      std::abort();
  }
  return 0;
}
