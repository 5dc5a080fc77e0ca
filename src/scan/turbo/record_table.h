// What is kept of each record while the master file table is read: one entry of 32 bytes
// per record number, and the names in a pool beside them.
//
// While several workers fill the table, each writes only the entries of the records that
// it has read itself, and names through a writer of its own; no lock is needed. What an
// extension record says about another record waits in the worker's own list until all are
// done.
#pragma once

#include "scan/turbo/file_record.h"

#include <atomic>
#include <cstdlib>
#include <memory>
#include <string>
#include <vector>

namespace vorda {

// A name in the pool.
struct PooledName {
  std::uint32_t at = 0;    // in steps of two bytes
  std::uint8_t length = 0; // units; 0: no name
  bool narrow = false;     // one byte per unit, since all are below 256
};

struct MftEntry {
  static constexpr std::uint8_t kSeen = 1;
  static constexpr std::uint8_t kDirectory = 2;
  static constexpr std::uint8_t kNarrowName = 4;
  static constexpr std::uint8_t kOwnName = 8; // one of the record itself, and not of the DOS age

  std::uint64_t size;     // bytes
  std::uint64_t modified; // milliseconds since 1970
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
static_assert(sizeof(MftEntry) == 32);

// What an extension record adds to its base record.
struct MftExtension {
  std::uint64_t size = 0;
  std::uint32_t record = 0; // its own number
  std::uint32_t base = 0;
  PooledName name;
  std::uint32_t parent = kNoRecord;
  std::uint16_t parentSequence = 0;
  std::uint16_t baseSequence = 0;
  std::uint8_t nameRank = 0;
};

// Names as they came, but for what would make a path mean another place: separators and
// zero units, and all of "." and "..", become U+FFFD. No file can be reached by such a
// name; it is only shown.
class NamePool {
public:
  static constexpr std::size_t kBlockBytes = 1'048'576;
  static constexpr std::size_t kMostBlocks = 8192; // 8 GiB, what an offset can reach

  // mostBlocks: room for so many, up to kMostBlocks.
  explicit NamePool(std::size_t mostBlocks = kMostBlocks) : blocks_(mostBlocks) {}

  // Appends names for one thread.
  class Writer {
  public:
    explicit Writer(NamePool& pool) : pool_(pool) {}
    // Units of two bytes, at most 255. False when the pool is full or memory is short.
    bool add(ByteView units, PooledName& name);

  private:
    // Room for so many bytes; add() says how many of them it used.
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
  // As many as the name is long; none when its length is 0.
  Units units(const PooledName& name) const;
  void read(const PooledName& name, std::wstring& out) const;

private:
  std::vector<std::unique_ptr<std::uint8_t[]>> blocks_;
  std::atomic<std::size_t> next_{0};
};

class MftTable {
public:
  // All entries zero, in memory that costs nothing until it is written to. False when
  // there is not enough.
  bool allocate(std::uint32_t count);

  std::uint32_t size() const { return count_; }
  MftEntry& operator[](std::uint32_t record) { return entries_.get()[record]; }

  NamePool names;

private:
  struct Free {
    void operator()(MftEntry* entries) const { std::free(entries); }
  };
  std::unique_ptr<MftEntry, Free> entries_;
  std::uint32_t count_ = 0;
};

// Adds what extension records say to their base records, in the order of their numbers:
// sizes add up; a name serves where the base record has none of its own, or only one of
// the DOS age. An extension whose base record is not there, or was another one when it was
// made, says nothing.
void applyExtensions(MftTable& table, std::vector<MftExtension>& extensions);

} // namespace vorda
