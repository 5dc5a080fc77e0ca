// The volume's own map of used clusters, the file $Bitmap: one bit for each cluster.
#pragma once

#include "scan/turbo/file_record.h"
#include "scan/turbo/table_extents.h"

#include <optional>
#include <vector>

namespace vorda {

inline constexpr std::uint32_t kBitmapRecord = 6;

// Part of the stream, as one record has it.
struct StreamPiece {
  std::uint64_t firstCluster = 0;
  std::uint64_t size = 0; // of the whole stream, in bytes; only the first piece knows it
  std::vector<Extent> extents;
};

// Appends the pieces of the unnamed data stream in a record. A damaged one is left out.
void addDataPieces(ByteView record, const MftLayout& layout, std::vector<StreamPiece>& pieces);

// The first bits that are set. bits: how many to look at; those beyond the bytes count as clear.
std::uint64_t countBits(ByteView bytes, std::uint64_t bits);

// The used clusters of the volume. Nothing if the pieces do not cover the volume or reading
// fails.
std::optional<std::uint64_t> usedClusters(Volume& volume, const MftLayout& layout,
                                          std::vector<StreamPiece> pieces);

} // namespace vorda
