#include "search/best_hits.h"

#include "base/paths.h"
#include "base/text.h"

#include <algorithm>
#include <iterator>
#include <limits>

namespace vorda {

namespace {

constexpr std::size_t kBatch = 256;

// Sorts unknown times last.
std::uint64_t oldestKey(std::uint64_t modified) {
  return modified == 0 ? std::numeric_limits<std::uint64_t>::max() : modified;
}

// Ignores the path. Negative if a sorts before b, zero for a tie.
template <typename A, typename B>
int compareKeys(HitOrder order, const A& a, std::wstring_view nameOfA, const B& b,
                std::wstring_view nameOfB) {
  const auto ascending = [](std::uint64_t x, std::uint64_t y) {
    return x == y ? 0 : (x < y ? -1 : 1);
  };
  switch (order) {
  case HitOrder::newest: return ascending(b.modified, a.modified);
  case HitOrder::oldest: return ascending(oldestKey(a.modified), oldestKey(b.modified));
  case HitOrder::name: return compareIgnoreCase(nameOfA, nameOfB);
  case HitOrder::size: break;
  }
  return ascending(b.size, a.size);
}

struct OrderWord {
  HitOrder order;
  std::string_view word;
};

constexpr OrderWord kOrderWords[] = {{HitOrder::newest, "new"},
                                     {HitOrder::oldest, "old"},
                                     {HitOrder::name, "name"},
                                     {HitOrder::size, "size"}};

} // namespace

std::string_view hitOrderWord(HitOrder order) {
  for (const OrderWord& row : kOrderWords) {
    if (row.order == order) return row.word;
  }
  return {};
}

HitOrder hitOrderOf(std::string_view word) {
  for (const OrderWord& row : kOrderWords) {
    if (row.word == word) return row.order;
  }
  return HitOrder::size;
}

bool standsBefore(HitOrder order, const Hit& a, const Hit& b) {
  const int keys = compareKeys(order, a, a.name(), b, b.name());
  return keys != 0 ? keys < 0 : a.path < b.path;
}

void keepBest(HitOrder order, std::vector<Hit>& hits, std::size_t limit) {
  const auto before = [order](const Hit& a, const Hit& b) { return standsBefore(order, a, b); };
  if (hits.size() > limit) {
    const auto cut = hits.begin() + static_cast<std::ptrdiff_t>(limit);
    std::nth_element(hits.begin(), cut, hits.end(), before);
    hits.erase(cut, hits.end());
  }
  std::sort(hits.begin(), hits.end(), before);
}

class BestHits::Taker final : public FileTaker {
public:
  explicit Taker(BestHits& owner) : owner_(owner) { batch_.reserve(kBatch); }
  void finish() override { flush(); }

  void take(const FoundFile& file) override {
    owner_.found_.fetch_add(1, std::memory_order_relaxed);
    ++count_;
    bytes_ += file.size;
    if (worst_ && compareKeys(owner_.order_, file, file.name, *worst_, worst_->name()) > 0) {
      if (count_ >= kBatch) flush();
      return;
    }
    Hit& hit = batch_.emplace_back();
    hit.path = joinPath(file.folder, file.name);
    hit.nameStart = hit.path.size() - file.name.size();
    hit.size = file.size;
    hit.modified = file.modified;
    hit.scan = owner_.scan_;
    hit.diskKnown = file.diskKnown;
    hit.disk = hit.back = file.disk;
    hit.cloud = file.cloud;
    hit.fileId = file.id;
    if (count_ >= kBatch) flush();
  }

private:
  void flush() {
    owner_.add(batch_, count_, bytes_, worst_);
    count_ = 0;
    bytes_ = 0;
  }

  BestHits& owner_;
  std::vector<Hit> batch_;
  std::uint64_t count_ = 0;
  std::uint64_t bytes_ = 0;
  std::optional<Hit> worst_;
};

std::unique_ptr<FileTaker> BestHits::taker() { return std::make_unique<Taker>(*this); }

void BestHits::add(std::vector<Hit>& batch, std::uint64_t count, std::uint64_t bytes,
                   std::optional<Hit>& worst) {
  const std::lock_guard lock(mutex_);
  count_ += count;
  bytes_ += bytes;
  std::move(batch.begin(), batch.end(), std::back_inserter(hits_));
  batch.clear();
  if (hits_.size() >= 2 * limit_) {
    const auto before = [this](const Hit& a, const Hit& b) { return standsBefore(order_, a, b); };
    const auto last = hits_.begin() + static_cast<std::ptrdiff_t>(limit_ - 1);
    std::nth_element(hits_.begin(), last, hits_.end(), before);
    hits_.erase(last + 1, hits_.end());
    worst_ = hits_.back();
  }
  worst = worst_; // which never gets worse
}

void BestHits::finish() { keepBest(order_, hits_, limit_); }

} // namespace vorda
