#include "base/paths.h"
#include "search/best_hits.h"
#include "search/candidates.h"

#include <doctest/doctest.h>

#include <algorithm>
#include <random>
#include <thread>
#include <tuple>

using namespace vorda;

TEST_CASE("the first hits in each order are kept, independent of threads") {
  std::mt19937 random(3);
  std::vector<Hit> all;
  for (std::uint32_t i = 0; i < 30'000; ++i) {
    const std::wstring folder = L"G:\\" + std::to_wstring(random() % 50);
    // Few different names, sizes and times, so that ties are common; every fifth time is unknown.
    const std::wstring name =
        std::wstring(random() % 2 == 0 ? L"f" : L"F") + std::to_wstring(random() % 900);
    const std::wstring path = joinPath(folder, name).append(L".").append(std::to_wstring(i));
    all.push_back(
        {path, folder.size() + 1, random() % 3000, random() % 5 == 0 ? 0 : 1 + random() % 2000, 1});
  }
  for (const HitOrder order :
       {HitOrder::newest, HitOrder::oldest, HitOrder::name, HitOrder::size}) {
    CHECK(hitOrderOf(hitOrderWord(order)) == order);
    std::vector<std::tuple<std::uint64_t, std::wstring, std::wstring>> expected;
    std::uint64_t bytes = 0;
    for (const Hit& hit : all) {
      std::uint64_t key = 0;
      if (order == HitOrder::newest) key = ~hit.modified;
      if (order == HitOrder::oldest) key = hit.modified - 1; // unknown: the largest number
      if (order == HitOrder::size) key = ~hit.size;
      const bool byName = order == HitOrder::name;
      std::wstring upper(hit.name());
      std::replace(upper.begin(), upper.end(), L'f', L'F');
      expected.emplace_back(key, byName ? upper : L"", hit.path);
      bytes += hit.size;
    }
    std::sort(expected.begin(), expected.end());
    std::atomic<std::uint64_t> found{0};
    BestHits best(1, order, 700, found);
    std::vector<std::thread> threads;
    for (std::size_t part = 0; part < 3; ++part) {
      threads.emplace_back([&all, &best, part] {
        const auto taker = best.taker();
        for (std::size_t i = part; i < all.size(); i += 3) {
          const std::wstring_view folder(all[i].path.data(), all[i].nameStart - 1);
          taker->take({folder, all[i].name(), all[i].size, all[i].modified});
        }
        taker->finish();
      });
    }
    for (std::thread& thread : threads) thread.join();
    best.finish();
    CHECK(found == 30'000);
    CHECK(best.count() == 30'000);
    CHECK(best.bytes() == bytes);
    REQUIRE(best.best().size() == 700);
    for (std::size_t i = 0; i < 700; ++i) CHECK(best.best()[i].path == std::get<2>(expected[i]));
  }
}

TEST_CASE("hits are passed on in batches, and those that cannot make it are not kept") {
  for (const HitOrder order : {HitOrder::name, HitOrder::size}) {
    std::atomic<std::uint64_t> found{0};
    BestHits best(1, order, 256, found);
    const auto taker = best.taker();
    for (std::uint64_t i = 1; i <= 512; ++i) {
      taker->take({L"!", std::to_wstring(10'000 - i), 1000 + i, 1});
      CHECK(best.count() == i / 256 * 256);
      CHECK(best.best().size() == (i < 256 ? 0 : 256));
    }
    for (std::uint64_t i = 1; i <= 256; ++i) {
      taker->take({L"!", L"x", 0, 1});
      CHECK(best.count() == (i < 256 ? 512 : 768));
      CHECK(best.best().size() == 256);
    }
    CHECK(found == 768);
  }
}

TEST_CASE("the files that are compared share their size, and are sorted") {
  Candidates candidates;
  FileSink& sink = candidates.sinkOf(7);
  for (int part = 0; part < 2; ++part) {
    const auto taker = sink.taker();
    for (const wchar_t* folder : {L"D:\\$x", L"C:\\y", L"C:\\$RECYCLE.bin\\S-1"}) {
      taker->take({folder, part == 0 ? L"b" : L"a", 3, 5});
      taker->take({folder, L"empty", 0});
      if (folder[3] != L'y') continue;
      taker->take({folder, part == 0 ? L"n" : L"m", 4});
      taker->take({folder, L"alone", part == 0 ? 2U : 9U});
    }
    taker->finish();
  }
  std::wstring list;
  for (const SizedName& one : candidates.takeSameSized()) {
    list += std::to_wstring(one.size) + L" " + one.name.path + L" " +
            std::to_wstring(one.name.modified) + L" " + std::to_wstring(one.name.scan) + L"|";
  }
  CHECK(list == L"4 C:\\y\\m 0 7|4 C:\\y\\n 0 7|3 C:\\y\\a 5 7|3 C:\\y\\b 5 7|"
                L"3 D:\\$x\\a 5 7|3 D:\\$x\\b 5 7|");
  CHECK(candidates.takeSameSized().empty());
}
