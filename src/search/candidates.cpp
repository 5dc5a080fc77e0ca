#include "search/candidates.h"

#include "base/paths.h"
#include "base/text.h"
#include "rules/safety_rules.h"

#include <algorithm>

namespace vorda {

namespace {

bool liesInRecycleBin(std::wstring_view folder) {
  const auto parts = pathComponents(folder);
  return std::any_of(parts.begin(), parts.end(), [](std::wstring_view part) {
    return part.starts_with(L'$') && equalsIgnoreCase(part, kRecycleBinName);
  });
}

} // namespace

class Candidates::Taker final : public FileTaker {
public:
  Taker(Candidates& owner, int scan) : scan_(scan), part_(owner.newPart()) {}

  void take(const FoundFile& file) override {
    if (part_.folders.empty() || part_.folders.back().path != file.folder) {
      part_.folders.push_back({std::wstring(file.folder), scan_});
      inBin_ = liesInRecycleBin(file.folder);
    }
    if (inBin_ || file.size == 0) return;
    part_.items.push_back(
        {file.size, file.modified, &part_.folders.back(), std::wstring(file.name)});
  }

private:
  const int scan_;
  Part& part_;
  bool inBin_ = false;
};

class Candidates::Sink final : public FileSink {
public:
  Sink(Candidates& owner, int scan) : owner_(owner), scan_(scan) {}
  std::unique_ptr<FileTaker> taker() override { return std::make_unique<Taker>(owner_, scan_); }

private:
  Candidates& owner_;
  const int scan_;
};

Candidates::Part& Candidates::newPart() {
  auto part = std::make_unique<Part>();
  const std::lock_guard lock(mutex_);
  return *parts_.emplace_back(std::move(part));
}

FileSink& Candidates::sinkOf(int scan) {
  return *sinks_.emplace_back(std::make_unique<Sink>(*this, scan));
}

std::vector<SizedName> Candidates::takeSameSized() {
  std::vector<const Item*> items;
  for (const auto& part : parts_) {
    for (const Item& item : part->items) items.push_back(&item);
  }
  std::sort(items.begin(), items.end(),
            [](const Item* a, const Item* b) { return a->size > b->size; });
  std::vector<SizedName> names;
  for (auto from = items.begin(); from != items.end();) {
    const auto to = std::find_if(
        from, items.end(), [size = (*from)->size](const Item* one) { return one->size != size; });
    if (to - from > 1) {
      const auto first = static_cast<std::ptrdiff_t>(names.size());
      for (; from != to; ++from) {
        const Item& item = **from;
        names.push_back(
            {item.size,
             {joinPath(item.folder->path, item.name), item.modified, item.folder->scan}});
      }
      std::sort(names.begin() + first, names.end(),
                [](const SizedName& a, const SizedName& b) { return a.name.path < b.name.path; });
    }
    from = to;
  }
  parts_.clear();
  return names;
}

} // namespace vorda
