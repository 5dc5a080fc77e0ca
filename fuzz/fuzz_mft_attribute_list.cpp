// Attribute lists: pieces are sorted and no more than the list can hold.
#include "scan/turbo/attribute_list.h"

#include <algorithm>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  std::vector<vorda::DataPiece> pieces;
  const bool whole = vorda::decodeAttributeList({data, size}, pieces);
  const bool ordered =
      std::is_sorted(pieces.begin(), pieces.end(),
                     [](const auto& a, const auto& b) { return a.firstCluster < b.firstCluster; });
  if (pieces.size() > size / 24) std::abort();
  if (whole && !ordered) std::abort();
  return 0;
}
