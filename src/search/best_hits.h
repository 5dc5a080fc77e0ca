// The best hits of one scan by a chosen order, in bounded memory: however many files are
// found, twice the limit are held at most, and those kept in the end are the best of all.
//
// Each thread that finds files fills a taker of its own, which turns away what is worse
// than the worst that has a chance, before a path is put together, and hands on the rest
// in batches under one lock.
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

// newest: latest change first. oldest: earliest change first, unknown times last. name:
// by file name ignoring case. size: largest first. Ties in each by path.
enum class HitOrder { newest, oldest, name, size };

// The word of an order in requests and documents: "new", "old", "name" or "size".
std::string_view hitOrderWord(HitOrder order);
// The order with this word; by size for any other.
HitOrder hitOrderOf(std::string_view word);

struct Hit {
  std::wstring path;
  std::size_t nameStart = 0; // where the file's own name begins in path
  std::uint64_t size = 0;
  std::uint64_t modified = 0; // milliseconds since 1970, 0 when not known
  int scan = 0;

  std::wstring_view name() const { return std::wstring_view(path).substr(nameStart); }
};

// Whether a stands before b. Total over the hits of a search, none of which has the path
// of another.
bool standsBefore(HitOrder order, const Hit& a, const Hit& b);

// Cuts a list to the limit best ones, best first.
void keepBest(HitOrder order, std::vector<Hit>& hits, std::size_t limit);

class BestHits final : public FileSink {
public:
  // found grows with every hit, kept or not, at once.
  BestHits(int scan, HitOrder order, std::size_t limit, std::atomic<std::uint64_t>& found)
      : scan_(scan), order_(order), limit_(limit), found_(found) {}

  std::unique_ptr<FileTaker> taker() override;

  // Cuts to the best. What follows may be asked only then, when all takers are gone.
  void finish();
  int scan() const { return scan_; }
  std::uint64_t count() const { return count_; } // of all hits, kept or not
  std::uint64_t bytes() const { return bytes_; } // of all hits, kept or not
  const std::vector<Hit>& best() const { return hits_; }

private:
  class Taker;
  // worst: the taker's own copy, brought up to date.
  void add(std::vector<Hit>& batch, std::uint64_t count, std::uint64_t bytes,
           std::optional<Hit>& worst);

  const int scan_;
  const HitOrder order_;
  const std::size_t limit_;
  std::atomic<std::uint64_t>& found_;
  std::mutex mutex_; // guards what follows
  std::uint64_t count_ = 0;
  std::uint64_t bytes_ = 0;
  std::vector<Hit> hits_;
  std::optional<Hit> worst_; // of the best so far; a hit behind it has no chance
};

} // namespace vorda
