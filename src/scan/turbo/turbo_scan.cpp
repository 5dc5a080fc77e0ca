#include "scan/turbo/turbo_scan.h"

#include "scan/final_totals.h"
#include "scan/turbo/table_extents.h"
#include "scan/turbo/tree_build.h"
#include "scan/turbo/volume_bitmap.h"

#include <algorithm>
#include <array>
#include <exception>
#include <mutex>
#include <new>
#include <thread>

namespace vorda {

namespace {

// Small enough that much of a chunk is still in a cache when it is parsed.
constexpr std::uint64_t kChunkBytes = 2'097'152;
constexpr std::uint64_t kMostRecords = 200'000'000;
// One bad record in this many is skipped, and always a single one; more fail the scan.
constexpr std::uint64_t kRecordsPerBadOne = 1000;

// A chunk exceeds the innermost CPU caches, so records are prefetched this far ahead: their first
// cache lines and the last one, which fixups change.
constexpr std::uint32_t kAhead = 2;

void prefetch(const std::uint8_t* record, std::size_t size) {
  constexpr std::size_t kLine = 64;
  constexpr std::size_t kHead = 512; // smallest record
  for (std::size_t at = 0; at < kHead; at += kLine) __builtin_prefetch(record + at, 1);
  __builtin_prefetch(record + size - 1, 1);
}

// Reads and parses all records. Each worker reads a chunk after the other, by a handle of its own.
class RecordReader {
public:
  // volumes: the same one, opened once for each worker; fewer mean fewer workers.
  RecordReader(const std::vector<Volume*>& volumes, const MftLayout& layout,
               const MftExtents& extents, RecordTable& table, ScanProgress& progress)
      : volumes_(volumes), layout_(layout), extents_(extents), table_(table), progress_(progress),
        chunkRecords_(static_cast<std::uint32_t>(std::clamp<std::uint64_t>(
            kChunkBytes / layout.recordBytes, 1, std::max(table.size(), 1U)))) {}

  // Empty on success, also of a cancelled reading; else the failure word.
  std::string_view run();

  bool cutShort() const { return cutShort_; } // a cancel left records unread

  // Of the file $Bitmap.
  std::vector<StreamPiece>& bitmapPieces() { return bitmap_; }

private:
  struct Worker {
    Worker(Volume& own, PageBuffer chunk, NamePool& namePool)
        : volume(own), buffer(std::move(chunk)), pool(namePool) {}
    Volume& volume;
    PageBuffer buffer;
    NamePool::Writer pool;
    std::vector<RecordExtension> extensions;
    std::vector<SideName> names;
    std::vector<SideFacts> facts;
    std::vector<StreamPiece> bitmap;
    std::uint64_t inUse = 0;
    std::uint64_t bad = 0;
    bool exact = true;
  };
  struct Chunk {
    std::uint32_t first = 0;
    std::uint32_t count = 0;
  };

  void work(Worker& worker);
  bool claimNext(Chunk& chunk);
  bool read(Worker& worker, const Chunk& chunk);
  bool parse(Worker& worker, const Chunk& chunk);
  bool takeRecord(Worker& worker, std::uint8_t* bytes, std::uint32_t record);
  static bool takeNames(Worker& worker, ByteView bytes, ByteView first, const PooledName& pooled,
                        SideName name);
  bool takeBase(Worker& worker, ByteView bytes, std::uint32_t record, const RecordHeader& header,
                const RecordValues& values);
  bool takeExtension(Worker& worker, ByteView bytes, std::uint32_t record,
                     const RecordHeader& header, const RecordValues& values);
  void merge(std::vector<Worker>& workers);
  void publish(std::uint32_t count);
  bool fail(std::string_view word);

  const std::vector<Volume*>& volumes_;
  const MftLayout& layout_;
  const MftExtents& extents_;
  RecordTable& table_;
  ScanProgress& progress_;
  const std::uint32_t chunkRecords_;
  std::vector<StreamPiece> bitmap_;

  std::mutex claiming_; // guards next_, failure_ and cutShort_
  std::uint32_t next_ = 0;
  std::string_view failure_;
  bool cutShort_ = false;
  std::uint32_t done_ = 0; // guarded by the lock of progress_ texts
};

std::string_view RecordReader::run() {
  // Whole pages, so that the last sector of a chunk fits.
  constexpr std::size_t kPage = 4096;
  const std::size_t chunkBytes =
      (std::size_t{chunkRecords_} * layout_.recordBytes + kPage - 1) / kPage * kPage;
  std::vector<Worker> workers;
  for (Volume* volume : volumes_) {
    PageBuffer buffer = volume->buffer(chunkBytes);
    if (buffer) workers.emplace_back(*volume, std::move(buffer), table_.names);
  }
  if (workers.empty()) return kMftMemory;
  std::vector<std::thread> others;
  // So that nothing but a thread's start can fail while others run.
  others.reserve(workers.size());
  try {
    for (std::size_t i = 1; i < workers.size(); ++i) {
      others.emplace_back([this, &worker = workers[i]]() noexcept { work(worker); });
    }
  } catch (const std::exception&) {
    // Slower, but works with fewer threads.
  }
  work(workers[0]);
  for (std::thread& thread : others) thread.join();
  if (!failure_.empty()) return failure_;
  std::uint64_t inUse = 0;
  std::uint64_t bad = 0;
  for (const Worker& worker : workers) {
    inUse += worker.inUse;
    bad += worker.bad;
  }
  if (bad > std::max<std::uint64_t>(inUse / kRecordsPerBadOne, 1)) return kMftCorrupt;
  merge(workers);
  return {};
}

// Moves the items of a worker behind those of the others.
template <typename Item> void append(std::vector<Item>& all, std::vector<Item>& from) {
  if (all.empty()) {
    all = std::move(from);
  } else {
    all.insert(all.end(), std::make_move_iterator(from.begin()),
               std::make_move_iterator(from.end()));
  }
  std::vector<Item>().swap(from);
}

void RecordReader::merge(std::vector<Worker>& workers) {
  std::vector<RecordExtension> extensions;
  for (Worker& worker : workers) {
    append(extensions, worker.extensions);
    append(table_.sideNames, worker.names);
    append(table_.sideFacts, worker.facts);
    append(bitmap_, worker.bitmap);
    table_.exact = table_.exact && worker.exact;
  }
  applyExtensions(table_, extensions);
}

bool RecordReader::fail(std::string_view word) {
  const std::lock_guard lock(claiming_);
  if (failure_.empty()) failure_ = word;
  return false;
}

void RecordReader::work(Worker& worker) {
  try {
    Chunk chunk;
    while (claimNext(chunk) && read(worker, chunk) && parse(worker, chunk)) publish(chunk.count);
  } catch (const std::exception&) {
    fail(kMftMemory);
  }
}

// The next chunk to read; false at the end of the table, after a failure and once cancelled.
bool RecordReader::claimNext(Chunk& chunk) {
  const std::lock_guard lock(claiming_);
  if (!failure_.empty() || next_ == table_.size()) return false;
  if (progress_.cancelRequested.load()) {
    cutShort_ = true;
    return false;
  }
  chunk.first = next_;
  chunk.count = std::min(chunkRecords_, table_.size() - next_);
  next_ += chunk.count;
  return true;
}

bool RecordReader::read(Worker& worker, const Chunk& chunk) {
  const std::uint64_t bytes = std::uint64_t{chunk.count} * layout_.recordBytes;
  const std::uint64_t sector = layout_.sectorBytes;
  const auto whole = static_cast<std::size_t>((bytes + sector - 1) / sector * sector);
  if (readStream(worker.volume, layout_, extents_.extents,
                 std::uint64_t{chunk.first} * layout_.recordBytes, worker.buffer.get(), whole)) {
    return true;
  }
  return fail(kMftUnreadable);
}

bool RecordReader::parse(Worker& worker, const Chunk& chunk) {
  for (std::uint32_t i = 0; i < chunk.count; ++i) {
    std::uint8_t* bytes = worker.buffer.get() + std::size_t{i} * layout_.recordBytes;
    if (i + kAhead < chunk.count) {
      prefetch(bytes + std::size_t{kAhead} * layout_.recordBytes, layout_.recordBytes);
    }
    if (!takeRecord(worker, bytes, chunk.first + i)) return fail(kMftMemory);
  }
  return true;
}

// False only if out of memory.
bool RecordReader::takeRecord(Worker& worker, std::uint8_t* bytes, std::uint32_t record) {
  const ByteView view(bytes, layout_.recordBytes);
  const RecordHeader header = readHeader(view);
  if (!header.inUse) return true;
  ++worker.inUse;
  const bool outside = header.baseReference.record >= table_.size();
  if (!header.file || outside || !applyFixups(bytes, view.size())) {
    ++worker.bad;
    return true;
  }
  const RecordValues values = readValues(view, layout_);
  if (values.broken) ++worker.bad;
  if (!values.clusters.exact) worker.exact = false;
  if (record == kBitmapRecord || header.baseReference.record == kBitmapRecord) {
    addDataPieces(view, layout_, worker.bitmap);
  }
  return header.base ? takeBase(worker, view, record, header, values)
                     : takeExtension(worker, view, record, header, values);
}

// Notes all names of a record but its DOS names. first: the one that is pooled already.
bool RecordReader::takeNames(Worker& worker, ByteView bytes, ByteView first,
                             const PooledName& pooled, SideName name) {
  AttributeWalk walk(bytes);
  Attribute attribute;
  while (walk.next(attribute)) {
    const OwnName own = ownNameOf(attribute);
    if (own.name.empty()) continue;
    name.name = pooled;
    if (own.name.data() != first.data() && !worker.pool.add(own.name, name.name)) return false;
    name.parent = own.parent;
    name.parentSequence = own.parentSequence;
    worker.names.push_back(name);
  }
  return true;
}

bool RecordReader::takeBase(Worker& worker, ByteView bytes, std::uint32_t record,
                            const RecordHeader& header, const RecordValues& values) {
  RecordEntry& entry = table_[record];
  const auto flag = [](bool set, std::uint8_t bit) { return set ? bit : std::uint8_t{0}; };
  const bool manyNames = values.ownNames > 1 && !header.directory;
  entry.flags = static_cast<std::uint8_t>(
      RecordEntry::kSeen | flag(header.directory, RecordEntry::kDirectory) |
      flag(!values.name.empty() && values.nameRank < kDosNameRank, RecordEntry::kOwnName) |
      flag(values.cloud, RecordEntry::kCloud));
  entry.sequence = header.sequence;
  entry.size = values.size;
  entry.modified = values.modified;
  entry.clusters = values.clusters.all;
  const std::int32_t namesLeft =
      header.directory ? 0 : std::int32_t{header.names} - std::int32_t{values.fileNames};
  const std::uint64_t data = values.cloud ? values.clusters.data : 0;
  if (namesLeft > 0 || values.clusters.streams != 0 || data != 0) {
    worker.facts.push_back({values.clusters.streams, data, record, namesLeft});
  }
  if (values.name.empty()) return true;
  PooledName name;
  if (!worker.pool.add(values.name, name)) return false;
  entry.setName(name, values.nameRank, values.parent, values.parentSequence);
  if (!manyNames) return true;
  SideName side;
  side.record = record;
  side.sequence = header.sequence;
  return takeNames(worker, bytes, values.name, name, side);
}

bool RecordReader::takeExtension(Worker& worker, ByteView bytes, std::uint32_t record,
                                 const RecordHeader& header, const RecordValues& values) {
  if (values.size == 0 && values.name.empty() && values.clusters.all == 0) return true;
  RecordExtension extension;
  extension.size = values.size;
  extension.clusters = values.clusters;
  extension.record = record;
  extension.base = static_cast<std::uint32_t>(header.baseReference.record);
  extension.baseSequence = header.baseReference.sequence;
  extension.fileNames = values.fileNames;
  extension.parent = values.parent;
  extension.parentSequence = values.parentSequence;
  extension.nameRank = values.nameRank;
  if (!values.name.empty() && !worker.pool.add(values.name, extension.name)) return false;
  worker.extensions.push_back(extension);
  if (values.ownNames == 0) return true;
  SideName side;
  side.record = extension.base;
  side.sequence = extension.baseSequence;
  return takeNames(worker, bytes, values.name, extension.name, side);
}

void RecordReader::publish(std::uint32_t count) {
  progress_.edit([this, count](ProgressTexts& texts) {
    done_ += count;
    progress_.files = done_;
    texts.current = L"record " + std::to_wstring(done_) + L" van " + std::to_wstring(table_.size());
  });
}

std::string_view readBoot(Volume& volume, MftLayout& layout) {
  const PageBuffer buffer = volume.buffer(kBootBytes);
  if (!buffer) return kMftBoot;
  for (std::size_t done = 0; done < kBootBytes;) {
    const std::size_t count = volume.read(done, buffer.get() + done, kBootBytes - done);
    if (count == 0) return kMftBoot;
    done += count;
  }
  return decodeBoot({buffer.get(), kBootBytes}, layout);
}

// Empty on success, else the failure word.
std::string_view readVolume(const OpenVolume& open, ScanProgress& progress,
                            const ScanOptions& options, ScanResult& result) {
  progress.setStatus(ScanStatus::mftOpen);
  if (options.root.empty()) return kMftOpenFailed;
  OpenedVolume opened = open(options.root[0]);
  if (!opened.volume) return opened.failure;
  MftLayout layout;
  if (const auto word = readBoot(*opened.volume, layout); !word.empty()) return word;
  progress.setStatus(ScanStatus::mftFind);
  MftExtents extents;
  if (const auto word = findTable(*opened.volume, layout, extents); !word.empty()) return word;
  const std::uint64_t records = extents.bytes / layout.recordBytes;
  if (records > kMostRecords) return kMftRecordCount;
  progress.setStatus(ScanStatus::mftRead);
  RecordTable table;
  if (!table.allocate(static_cast<std::uint32_t>(records))) return kMftMemory;
  // Two handles, as two reads by one would wait for each other. Without the second it is slower.
  OpenedVolume again = open(options.root[0]);
  std::vector<Volume*> volumes = {opened.volume.get()};
  if (again.volume) volumes.push_back(again.volume.get());
  RecordReader reader(volumes, layout, extents, table, progress);
  if (const auto word = reader.run(); !word.empty()) return word;
  again.volume.reset();
  table.clusterBytes = layout.clusterBytes;
  if (options.sink == nullptr && !reader.cutShort()) {
    result.volume.counted = true;
    result.volume.cluster = layout.clusterBytes;
    result.volume.exact = table.exact;
    if (const auto used = usedClusters(*opened.volume, layout, std::move(reader.bitmapPieces()))) {
      result.volume.fromBitmap = result.volume.usedKnown = true;
      result.volume.used = *used * layout.clusterBytes;
    }
  }
  opened.volume.reset();
  progress.phase = kPhaseSumming;
  progress.setStatus(ScanStatus::tree);
  if (reader.cutShort()) result.partial = Partial::cancelled;
  if (buildResult(table, options, result)) return {};
  if (!reader.cutShort()) return kMftCorrupt;
  // Cancelled before the record of the root was read.
  result.folders.emplace_back().name = result.rootPath;
  result.folderCount = 1;
  return {};
}

} // namespace

bool turboScan(const OpenVolume& open, ScanProgress& progress, const ScanOptions& options,
               ScanResult& result) {
  const ScanClock::time_point start = ScanClock::now();
  progress.phase = kPhaseReading;
  progress.edit([](ProgressTexts& texts) { texts.method = ScanMethod::turbo; });
  result.rootPath = options.root.substr(0, 1) + L":\\";
  std::string_view failure;
  try {
    failure = readVolume(open, progress, options, result);
  } catch (const std::bad_alloc&) {
    // The sink may already have some files; the walk would pass them on again.
    if (options.sink != nullptr) throw;
    failure = kMftMemory;
  }
  if (!failure.empty()) {
    progress.files = 0; // it counted records
    progress.edit([failure](ProgressTexts& texts) { texts.failure = failure; });
    return false;
  }
  finishScan(progress, result, start);
  return true;
}

} // namespace vorda
