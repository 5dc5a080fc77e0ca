#include "search/content_reader.h"
#include "support/memory_contents.h"

#include <stdexcept>
#include <thread>

using namespace vorda;

namespace {

// Which items each thread processed, in order.
using Shares = std::vector<std::vector<std::size_t>>;

struct Processing {
  Run run;
  std::mutex mutex;
  Shares shares;
  std::function<void(std::size_t item)> onItem;

  // Sorted. With this many threads at once none begins before all are there.
  Shares process(const std::vector<std::wstring>& paths, std::size_t atOnce) {
    std::vector<const std::wstring*> pointers;
    for (const std::wstring& path : paths) pointers.push_back(&path);
    std::atomic<std::size_t> there{0};
    forEachByDrive(pointers, run, [&]() -> ItemWork {
      for (++there; there < atOnce;) std::this_thread::yield();
      const std::lock_guard lock(mutex);
      shares.emplace_back();
      return [this, share = shares.size() - 1](std::size_t item) {
        const std::lock_guard itemLock(mutex);
        shares[share].push_back(item);
        if (onItem) onItem(item);
      };
    });
    std::sort(shares.begin(), shares.end());
    return shares;
  }
};

} // namespace

TEST_CASE("each drive is read by one thread and in order, sixteen drives at once") {
  CHECK(Processing().process({}, 0).empty());
  CHECK(Processing().process({L"C:\\1", L"\\\\S\\A\\1", L"c:\\2", L"\\\\s\\a\\2", L"\\\\s\\b\\3",
                              L"D:\\4", L"D:\\3", L"\\\\t"},
                             5) == Shares{{0, 2}, {1, 3}, {4}, {5, 6}, {7}});
  std::vector<std::wstring> paths;
  Shares expected(16);
  for (std::size_t i = 0; i < 36; ++i) {
    paths.push_back(std::wstring(1, static_cast<wchar_t>(L'A' + i % 18)) + L":\\x");
  }
  for (std::size_t drive = 0; drive < 18; ++drive) {
    expected[drive % 16].insert(expected[drive % 16].end(), {drive, drive + 18});
  }
  CHECK(Processing().process(paths, 16) == expected);
}

TEST_CASE("after a cancel or a failure no more is read") {
  const std::vector<std::wstring> paths = {L"C:\\1", L"C:\\2", L"C:\\3"};
  Processing cancelled;
  cancelled.onItem = [&](std::size_t item) {
    if (item == 1) cancelled.run.cancel();
  };
  CHECK(cancelled.process(paths, 1) == Shares{{0, 1}});
  Processing failing;
  failing.onItem = [](std::size_t) { throw std::runtime_error("broken"); };
  CHECK_THROWS_AS(failing.process(paths, 1), std::runtime_error);
  CHECK(failing.shares == Shares{{0}});
}

TEST_CASE("a file is read to its end, unless the run is cancelled or the file is shorter") {
  test::MemoryContents contents;
  Run run;
  ContentReader reader(contents, run, Writers::allowed);
  Digest digest{};
  contents.add(L"C:\\a", std::string(2'500'000, 'a'));
  contents.add(L"C:\\short", "text", 1);
  contents.edit(L"C:\\short", [](auto& file) { file.content = "tex"; });
  const FileState whole = {2'500'000, 1, 1001};
  CHECK(reader.digestWhole(L"C:\\a", whole, digest) == FileFailure::none);
  CHECK(run.counters().read == 2'500'000);
  CHECK(reader.digestWhole(L"C:\\short", {4, 1, 1}, digest) == FileFailure::changed);
  contents.onRead = [&run](const std::wstring&) { run.cancel(); };
  CHECK(reader.digestWhole(L"C:\\a", whole, digest) == FileFailure::cancelled);
  CHECK(run.counters().read == 2'500'000 + 1'048'576);
}
