#include "scan/turbo/attribute_list.h"

#include <algorithm>

namespace vorda {

namespace {

constexpr std::size_t kSmallestEntry = 24;

} // namespace

bool decodeAttributeList(ByteView list, std::vector<DataPiece>& pieces) {
  while (!list.empty()) {
    const std::size_t length = list.u16(4);
    if (length < kSmallestEntry || !list.holds(0, length)) return false;
    if (list.u32(0) == kData && list.u8(6) == 0) {
      pieces.push_back({list.u64(8), FileReference::of(list.u64(16))});
    }
    list = list.from(length);
  }
  std::stable_sort(pieces.begin(), pieces.end(), [](const DataPiece& a, const DataPiece& b) {
    return a.firstCluster < b.firstCluster;
  });
  return true;
}

} // namespace vorda
