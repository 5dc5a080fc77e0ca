#include "scan/turbo/record_table.h"

#include <algorithm>
#include <cstring>
#include <new>

namespace vorda {

namespace {

constexpr std::uint16_t kReplacement = 0xFFFD;

std::uint16_t shown(std::uint16_t unit) {
  return unit == 0 || unit == '/' || unit == '\\' ? kReplacement : unit;
}

bool isDots(ByteView units) {
  return units.size() <= 4 && units.u16(0) == '.' && (units.size() == 2 || units.u16(2) == '.');
}

void writeWide(ByteView units, std::uint8_t* out) {
  const bool dots = isDots(units);
  for (std::size_t i = 0; i < units.size(); i += 2) {
    const std::uint16_t unit = dots ? kReplacement : shown(units.u16(i));
    out[i] = static_cast<std::uint8_t>(unit & 0xFFU);
    out[i + 1] = static_cast<std::uint8_t>(unit >> 8U);
  }
}

// Four units at once: whether one of the bytes is zero.
constexpr std::uint32_t hasZero(std::uint32_t bytes) {
  return (bytes - 0x0101'0101U) & ~bytes & 0x8080'8080U;
}

// Writes the low byte of each unit; false if a unit has a high byte or is to be replaced.
bool writeNarrow(ByteView units, std::uint8_t* out) {
  constexpr std::size_t kAtOnce = 4;
  constexpr std::uint32_t kSlashes = '/' * 0x0101'0101U;
  constexpr std::uint32_t kBackslashes = '\\' * 0x0101'0101U;
  const std::size_t length = units.size() / 2;
  std::uint64_t high = 0;
  std::uint32_t replaced = 0;
  std::size_t i = 0;
  for (; i + kAtOnce <= length; i += kAtOnce) {
    std::uint64_t four = units.u64(2 * i);
    high |= four;
    four = (four | four >> 8U) & 0x0000'FFFF'0000'FFFFULL;
    const auto low = static_cast<std::uint32_t>(four | four >> 16U);
    std::memcpy(out + i, &low, sizeof low);
    replaced |= hasZero(low) | hasZero(low ^ kSlashes) | hasZero(low ^ kBackslashes);
  }
  for (; i < length; ++i) {
    const std::uint16_t unit = units.u16(2 * i);
    high |= unit;
    out[i] = static_cast<std::uint8_t>(unit);
    replaced |= shown(unit) == unit ? 0U : 1U;
  }
  return (high & 0xFF00'FF00'FF00'FF00ULL) == 0 && replaced == 0;
}

} // namespace

void RecordEntry::setName(const PooledName& name, std::uint8_t rank, std::uint32_t parentRecord,
                          std::uint16_t parentRecordSequence) {
  nameAt = name.at;
  nameLength = name.length;
  nameRank = rank;
  parent = parentRecord;
  parentSequence = parentRecordSequence;
  const auto others = static_cast<std::uint8_t>(flags & ~kNarrowName);
  flags = static_cast<std::uint8_t>(others | (name.narrow ? kNarrowName : 0));
}

std::uint8_t* NamePool::Writer::roomFor(std::size_t bytes, std::uint32_t& at) {
  if (bytes > kBlockBytes - used_) {
    used_ = kBlockBytes;
    block_ = pool_.next_.fetch_add(1, std::memory_order_relaxed);
    if (block_ >= pool_.blocks_.size()) return nullptr;
    pool_.blocks_[block_].reset(new (std::nothrow) std::uint8_t[kBlockBytes]);
    if (!pool_.blocks_[block_]) return nullptr;
    used_ = 0;
  }
  at = static_cast<std::uint32_t>((block_ * kBlockBytes + used_) / 2);
  return pool_.blocks_[block_].get() + used_;
}

bool NamePool::Writer::add(ByteView units, PooledName& name) {
  const std::size_t length = units.size() / 2;
  std::uint8_t* out = roomFor(2 * length, name.at);
  if (out == nullptr) return false;
  name.length = static_cast<std::uint8_t>(length);
  // Nearly all names are narrow and need no replacement.
  name.narrow = writeNarrow(units, out) && !isDots(units);
  if (!name.narrow) writeWide(units, out);
  used_ += name.narrow ? (length + 1) / 2 * 2 : 2 * length;
  return true;
}

NamePool::Units NamePool::units(const PooledName& name) const {
  constexpr std::size_t kSteps = kBlockBytes / 2;
  return {blocks_[name.at / kSteps].get() + name.at % kSteps * 2, name.narrow};
}

void NamePool::read(const PooledName& name, std::wstring& out) const {
  const Units from = units(name);
  out.resize(name.length);
  std::size_t i = 0;
  for (wchar_t& unit : out) unit = static_cast<wchar_t>(from[i++]);
}

bool RecordTable::allocate(std::uint32_t count) {
  entries_.reset(static_cast<RecordEntry*>(std::calloc(count, sizeof(RecordEntry))));
  count_ = entries_ ? count : 0;
  return entries_ != nullptr;
}

namespace {

void applyExtension(RecordTable& table, const RecordExtension& extension) {
  RecordEntry& base = table[extension.base];
  if (!base.seen() || base.sequence != extension.baseSequence) return;
  base.size += extension.size;
  base.clusters += extension.clusters.all;
  const bool cloud = (base.flags & RecordEntry::kCloud) != 0;
  const SideFacts facts = {extension.clusters.streams, cloud ? extension.clusters.data : 0,
                           extension.base, -static_cast<std::int32_t>(extension.fileNames)};
  if (facts.streams != 0 || facts.data != 0 || facts.namesLeft != 0) {
    table.sideFacts.push_back(facts);
  }
  if (extension.name.length == 0 || (base.flags & RecordEntry::kOwnName) != 0) return;
  if (base.nameLength != 0 && base.nameRank <= extension.nameRank) return;
  base.setName(extension.name, extension.nameRank, extension.parent, extension.parentSequence);
}

void sumSideFacts(std::vector<SideFacts>& facts) {
  std::sort(facts.begin(), facts.end(),
            [](const SideFacts& a, const SideFacts& b) { return a.record < b.record; });
  std::size_t kept = 0;
  for (std::size_t i = 0; i < facts.size(); ++i) {
    if (kept > 0 && facts[kept - 1].record == facts[i].record) {
      facts[kept - 1].streams += facts[i].streams;
      facts[kept - 1].data += facts[i].data;
      facts[kept - 1].namesLeft += facts[i].namesLeft;
    } else {
      facts[kept++] = facts[i];
    }
  }
  facts.resize(kept);
}

} // namespace

void applyExtensions(RecordTable& table, std::vector<RecordExtension>& extensions) {
  std::sort(extensions.begin(), extensions.end(),
            [](const RecordExtension& a, const RecordExtension& b) { return a.record < b.record; });
  for (const RecordExtension& extension : extensions) applyExtension(table, extension);
  std::erase_if(table.sideNames, [&table](const SideName& name) {
    const RecordEntry& base = table[name.record];
    return !base.seen() || base.directory() || base.sequence != name.sequence;
  });
  // Stable: the names of a record stay in their order, those of the base record first.
  std::stable_sort(table.sideNames.begin(), table.sideNames.end(),
                   [](const SideName& a, const SideName& b) { return a.record < b.record; });
  sumSideFacts(table.sideFacts);
}

} // namespace vorda
