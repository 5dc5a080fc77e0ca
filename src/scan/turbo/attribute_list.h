// Attribute lists, which name the records that hold the attributes of an NTFS file.
#pragma once

#include "scan/turbo/file_record.h"

#include <vector>

namespace vorda {

// A piece of the unnamed data stream.
struct DataPiece {
  std::uint64_t firstCluster = 0; // virtual cluster number in the stream
  FileReference holder;
};

// Appends the pieces of the unnamed data stream in a list, sorted by first cluster. False if an
// entry extends past the end of the list.
//
// $ATTRIBUTE_LIST entry of NTFS: 0 type (4 bytes), 4 length (2), 6 name length (1), 8 first
// virtual cluster (8), 16 file reference of the record (8).
bool decodeAttributeList(ByteView list, std::vector<DataPiece>& pieces);

} // namespace vorda
