// Attribute lists: which records hold the attributes that one record has no room for.
#pragma once

#include "scan/turbo/file_record.h"

#include <vector>

namespace vorda {

// A piece of the unnamed data stream.
struct DataPiece {
  std::uint64_t firstCluster = 0; // of the stream
  FileReference holder;
};

// The pieces of the unnamed data stream that a list names, by their first cluster.
// Entry: 0 type (4 bytes), 4 length (2), 6 length of the name (1), 8 first virtual
// cluster (8), 16 the record that holds it (8).
// False when an entry does not lie inside the list.
bool decodeAttributeList(ByteView list, std::vector<DataPiece>& pieces);

} // namespace vorda
