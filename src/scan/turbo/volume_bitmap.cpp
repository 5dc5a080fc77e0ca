#include "scan/turbo/volume_bitmap.h"

#include <algorithm>
#include <bit>

namespace vorda {

namespace {

constexpr std::uint64_t kChunkBytes = 4'194'304; // a multiple of every sector size

} // namespace

void addDataPieces(ByteView record, const MftLayout& layout, std::vector<StreamPiece>& pieces) {
  AttributeWalk walk(record);
  Attribute attribute;
  while (walk.next(attribute)) {
    if (attribute.type != kData || attribute.named() || attribute.resident()) continue;
    StreamPiece piece;
    piece.firstCluster = attribute.firstCluster();
    piece.size = attribute.realSize();
    if (decodeRuns(attribute.runs(), layout.clusters, piece.extents)) {
      pieces.push_back(std::move(piece));
    }
  }
}

std::uint64_t countBits(ByteView bytes, std::uint64_t bits) {
  const auto whole = static_cast<std::size_t>(std::min<std::uint64_t>(bytes.size(), bits / 8));
  std::uint64_t count = 0;
  std::size_t at = 0;
  for (; at + 8 <= whole; at += 8) {
    count += static_cast<std::uint64_t>(std::popcount(bytes.u64(at)));
  }
  for (; at < whole; ++at) count += static_cast<std::uint64_t>(std::popcount(bytes.u8(at)));
  // u8 reads 0 beyond the end.
  const auto last = static_cast<unsigned>(bytes.u8(whole)) & ((1U << bits % 8) - 1U);
  return count + static_cast<std::uint64_t>(std::popcount(last));
}

std::optional<std::uint64_t> usedClusters(Volume& volume, const MftLayout& layout,
                                          std::vector<StreamPiece> pieces) {
  std::sort(pieces.begin(), pieces.end(), [](const StreamPiece& a, const StreamPiece& b) {
    return a.firstCluster < b.firstCluster;
  });
  std::vector<Extent> extents;
  std::uint64_t covered = 0;
  for (const StreamPiece& piece : pieces) {
    if (piece.firstCluster != covered) return std::nullopt;
    for (const Extent& extent : piece.extents) {
      covered += extent.count; // each lies in the volume, so there is no overflow
      if (covered > layout.clusters) return std::nullopt; // overlapping
    }
    extents.insert(extents.end(), piece.extents.begin(), piece.extents.end());
  }
  const std::uint64_t bytes = layout.clusters / 8 + (layout.clusters % 8 != 0 ? 1 : 0);
  if (pieces.empty() || pieces.front().size < bytes) return std::nullopt;
  const PageBuffer buffer = volume.buffer(kChunkBytes);
  if (!buffer) return std::nullopt;
  std::uint64_t count = 0;
  for (std::uint64_t at = 0; at < bytes; at += kChunkBytes) {
    const std::uint64_t here = std::min(kChunkBytes, bytes - at);
    const std::uint64_t sector = layout.sectorBytes;
    const auto whole = static_cast<std::size_t>((here + sector - 1) / sector * sector);
    if (!readStream(volume, layout, extents, at, buffer.get(), whole)) return std::nullopt;
    count += countBits({buffer.get(), static_cast<std::size_t>(here)}, layout.clusters - at * 8);
  }
  return count;
}

} // namespace vorda
