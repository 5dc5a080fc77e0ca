#include "scan/turbo/run_list.h"

namespace vorda {

namespace {

std::uint64_t unsignedNumber(ByteView bytes) {
  std::uint64_t value = 0;
  for (std::size_t i = 0; i < bytes.size(); ++i) {
    value |= static_cast<std::uint64_t>(bytes.u8(i)) << (8 * i);
  }
  return value;
}

// Sign-extended; unsigned, since it is only added.
std::uint64_t signedNumber(ByteView bytes) {
  std::uint64_t value = unsignedNumber(bytes);
  const bool negative = (bytes.u8(bytes.size() - 1) & 0x80) != 0;
  if (negative && bytes.size() < 8) value |= ~std::uint64_t{0} << (8 * bytes.size());
  return value;
}

// Calls take(cluster, count, hole) for each run. False if the list is malformed or a run that is
// no hole lies outside the volume.
template <typename Take> bool eachRun(ByteView list, std::uint64_t clusters, Take take) {
  std::uint64_t cluster = 0;
  std::size_t at = 0;
  while (list.holds(at, 1)) {
    const std::uint8_t head = list.u8(at);
    if (head == 0) return true;
    const std::size_t lengthBytes = head & 15U;
    const std::size_t offsetBytes = head >> 4U;
    if (lengthBytes > 8 || offsetBytes > 8) return false;
    if (!list.holds(at + 1, lengthBytes + offsetBytes)) return false;
    const std::uint64_t count = unsignedNumber(list.part(at + 1, lengthBytes));
    const bool hole = offsetBytes == 0;
    if (count == 0) return false;
    if (!hole) {
      // cluster is below 2^63, so a sum below zero wraps to a large number and is refused.
      cluster += signedNumber(list.part(at + 1 + lengthBytes, offsetBytes));
      if (count > clusters || cluster > clusters - count) return false;
    }
    if (!take(cluster, count, hole)) return false;
    at += 1 + lengthBytes + offsetBytes;
  }
  return false;
}

} // namespace

bool decodeRuns(ByteView list, std::uint64_t clusters, std::vector<Extent>& extents) {
  return eachRun(list, clusters, [&extents](std::uint64_t cluster, std::uint64_t count, bool hole) {
    if (hole) return false;
    extents.push_back({cluster, count});
    return true;
  });
}

bool countClusters(ByteView list, std::uint64_t clusters, std::uint64_t& count) {
  count = 0;
  return eachRun(list, clusters, [&](std::uint64_t, std::uint64_t here, bool hole) {
    // Runs that overlap could add up to more than the volume has.
    if (hole) return true;
    if (here > clusters - count) return false;
    count += here;
    return true;
  });
}

} // namespace vorda
