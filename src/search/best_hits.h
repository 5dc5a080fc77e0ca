// The first hits of one scan in a chosen order, in bounded memory: at most twice the limit plus a
// batch per thread, however many files are found.
//
// Each thread has a taker of its own. It rejects hits that are known not to make it before their
// paths are built, and passes on the others in batches under one lock.
#pragma once

#include "scan/file_sink.h"

#include <atomic>
#include <cstdint>
#include <memory>
#include <mutex>
#include <optional>
#include <string>
#include <string_view>
#include <vector>

namespace vorda {

// Ties are sorted by path.
enum class HitOrder {
  newest,
  oldest, // unknown times last
  name,   // ignoring case, without the folder
  size,   // largest first
};

// The word for an order in requests and documents.
std::string_view hitOrderWord(HitOrder order);
// The order for a word; size for any unknown word.
HitOrder hitOrderOf(std::string_view word);

struct Hit {
  std::wstring path;
  std::size_t nameStart = 0; // where the file name begins in path
  std::uint64_t size = 0;
  std::uint64_t modified = 0; // milliseconds since 1970; 0 if unknown
  int scan = 0;
  bool diskKnown = false;   // the next three are
  std::uint64_t disk = 0;   // bytes on disk
  std::uint64_t cloud = 0;  // bytes only in the cloud
  std::uint64_t back = 0;   // bytes that come back if exactly this file is deleted
  std::uint64_t fileId = 0; // on its volume; 0: unknown

  std::wstring_view name() const { return std::wstring_view(path).substr(nameStart); }
};

// Whether a sorts before b. A total order, since no two hits have the same path.
bool standsBefore(HitOrder order, const Hit& a, const Hit& b);

// Sorts a list and cuts it to the limit.
void keepBest(HitOrder order, std::vector<Hit>& hits, std::size_t limit);

class BestHits final : public FileSink {
public:
  // found is incremented for every hit, kept or not.
  BestHits(int scan, HitOrder order, std::size_t limit, std::atomic<std::uint64_t>& found)
      : scan_(scan), order_(order), limit_(limit), found_(found) {}

  std::unique_ptr<FileTaker> taker() override;

  // Call when all takers are destroyed, and before the functions below.
  void finish();
  int scan() const { return scan_; }
  std::uint64_t count() const { return count_; } // of all hits, kept or not
  std::uint64_t bytes() const { return bytes_; } // of all hits, kept or not
  std::vector<Hit>& best() { return hits_; }

private:
  class Taker;
  // Moves a batch into hits_ and updates worst, the taker's copy of worst_.
  void add(std::vector<Hit>& batch, std::uint64_t count, std::uint64_t bytes,
           std::optional<Hit>& worst);

  const int scan_;
  const HitOrder order_;
  const std::size_t limit_;
  std::atomic<std::uint64_t>& found_;
  std::mutex mutex_; // guards the members below
  std::uint64_t count_ = 0;
  std::uint64_t bytes_ = 0;
  std::vector<Hit> hits_;
  std::optional<Hit> worst_; // hits that sort after this one are not kept
};

} // namespace vorda
