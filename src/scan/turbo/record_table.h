// What turbo keeps of the records of the master file table: an entry of 40 bytes per record
// number, a pool of names, and lists of what few files have: several names, further streams,
// contents in the cloud.
//
// Workers fill the table without locks: each writes only the entries of the records it has read
// and adds names with its own writer. Data of extension records is collected per worker and
// applied when all workers are done.
#pragma once

#include "scan/turbo/file_record.h"

#include <atomic>
#include <cstdlib>
#include <cstring>
#include <memory>
#include <string>
#include <vector>

namespace vorda {

// The location of a name in the pool.
struct PooledName {
  std::uint32_t at = 0;    // in units of two bytes
  std::uint8_t length = 0; // UTF-16 units; 0: no name
  bool narrow = false;     // one byte per unit; all units are below 256
};

struct RecordEntry {
  static constexpr std::uint8_t kSeen = 1;
  static constexpr std::uint8_t kDirectory = 2;
  static constexpr std::uint8_t kNarrowName = 4;
  static constexpr std::uint8_t kOwnName = 8; // name from the base record, not a DOS name
  static constexpr std::uint8_t kCloud = 16;  // contents that are not on the disk are in the cloud

  // The tree build replaces what a directory's record says by the folder's place in the tree.
  union {
    std::uint64_t size;        // bytes
    std::uint64_t folderIndex; // in the result's folder table
  };
  union {
    std::uint64_t modified; // milliseconds since 1970 (UTC)
    std::uint64_t level;    // 0: not known yet; 1: the root; 2: a folder of the root; …
  };
  std::uint64_t clusters; // allocated, by all attributes
  std::uint32_t parent;   // record number
  std::uint32_t nameAt;
  std::uint16_t sequence;
  std::uint16_t parentSequence;
  std::uint8_t nameLength;
  std::uint8_t nameRank;
  std::uint8_t flags;

  bool seen() const { return (flags & kSeen) != 0; }
  bool directory() const { return (flags & kDirectory) != 0; }
  PooledName name() const { return {nameAt, nameLength, (flags & kNarrowName) != 0}; }
  void setName(const PooledName& name, std::uint8_t rank, std::uint32_t parentRecord,
               std::uint16_t parentRecordSequence);
};
static_assert(sizeof(RecordEntry) == 40);

// Data of an extension record for its base record.
struct RecordExtension {
  std::uint64_t size = 0;
  RecordClusters clusters;
  std::uint32_t record = 0; // its own number
  std::uint32_t base = 0;
  PooledName name;
  std::uint32_t parent = kNoRecord;
  std::uint16_t parentSequence = 0;
  std::uint16_t baseSequence = 0;
  std::uint16_t fileNames = 0;
  std::uint8_t nameRank = 0;
};

// A name of a file that may have several: of a base record with more than one, or of an extension
// record.
struct SideName {
  std::uint32_t record = 0; // the base record
  std::uint32_t parent = kNoRecord;
  PooledName name;
  std::uint16_t sequence = 0; // of the base record
  std::uint16_t parentSequence = 0;
};

// What only few records have.
struct SideFacts {
  std::uint64_t streams = 0;  // clusters in further streams
  std::uint64_t data = 0;     // clusters of the unnamed stream, of a file in the cloud
  std::uint32_t record = 0;   // the base record
  std::int32_t namesLeft = 0; // that the base record counts, and were not found so far
};

// A pool of file names. Units that would change the meaning of a path (separators, NUL, and all
// of "." and "..") are replaced by U+FFFD; such files can be displayed but not opened.
class NamePool {
public:
  static constexpr std::size_t kBlockBytes = 1'048'576;
  static constexpr std::size_t kMostBlocks = 8192; // 8 GiB, the range of PooledName::at

  // mostBlocks: capacity, at most kMostBlocks.
  explicit NamePool(std::size_t mostBlocks = kMostBlocks) : blocks_(mostBlocks) {}

  // Adds names; one writer per thread.
  class Writer {
  public:
    explicit Writer(NamePool& pool) : pool_(pool) {}
    // units: UTF-16LE, at most 255 units. False if the pool is full or out of memory.
    bool add(ByteView units, PooledName& name);

  private:
    // Memory for at least this many bytes; add() advances used_. Null if there is none.
    std::uint8_t* roomFor(std::size_t bytes, std::uint32_t& at);

    NamePool& pool_;
    std::size_t block_ = 0;
    std::size_t used_ = kBlockBytes;
  };

  class Units {
  public:
    Units(const std::uint8_t* bytes, bool narrow) : bytes_(bytes), narrow_(narrow) {}
    std::uint16_t operator[](std::size_t i) const {
      if (narrow_) return bytes_[i];
      return static_cast<std::uint16_t>(bytes_[2 * i] | (bytes_[2 * i + 1] << 8U));
    }

  private:
    const std::uint8_t* bytes_;
    bool narrow_;
  };
  // name.length units.
  Units units(const PooledName& name) const;
  // The last eight bytes of a narrow name, the last one in the highest bits; a shorter name has any bytes
  // before it. 0 for a wide name, and where eight bytes would begin before the pool's block.
  std::uint64_t lastBytes(const PooledName& name) const {
    std::uint64_t last = 0;
    const std::size_t end = name.at % (kBlockBytes / 2) * 2 + name.length;
    if (!name.narrow || end < sizeof last) return last;
    std::memcpy(&last, blocks_[name.at / (kBlockBytes / 2)].get() + end - sizeof last, sizeof last);
    return last;
  }
  void read(const PooledName& name, std::wstring& out) const;

private:
  std::vector<std::unique_ptr<std::uint8_t[]>> blocks_;
  std::atomic<std::size_t> next_{0};
};

class RecordTable {
public:
  // Zeroed entries; the system commits pages on first write. False if out of memory.
  bool allocate(std::uint32_t count);

  std::uint32_t size() const { return count_; }
  RecordEntry& operator[](std::uint32_t record) { return entries_.get()[record]; }

  // The folder with this record number; null if it is missing or has been replaced.
  RecordEntry* folderAt(std::uint32_t record, std::uint16_t sequence) {
    if (record >= count_) return nullptr;
    RecordEntry& folder = (*this)[record];
    const bool same = sequence == 0 || sequence == folder.sequence;
    return folder.directory() && same ? &folder : nullptr;
  }

  NamePool names;
  // Sorted by record after applyExtensions; at most one SideFacts for each.
  std::vector<SideName> sideNames;
  std::vector<SideFacts> sideFacts;
  std::uint32_t clusterBytes = 0;
  bool exact = true; // false: the clusters of some record were not counted but believed

private:
  struct Free {
    void operator()(RecordEntry* entries) const { std::free(entries); }
  };
  std::unique_ptr<RecordEntry, Free> entries_;
  std::uint32_t count_ = 0;
};

// Applies extension records to their base records, ordered by record number: sizes and clusters
// add up; a name is used if the base record has none or only a DOS name. Extensions and side names whose
// base record is missing or has another sequence number are ignored.
void applyExtensions(RecordTable& table, std::vector<RecordExtension>& extensions);

} // namespace vorda
