#include "analysis/duplicates.h"
#include "support/app.h"

#include <doctest/doctest.h>

#include <numeric>
#include <random>
#include <set>

using namespace vorda;
using test::App;
using test::MemoryContents;

namespace {

constexpr std::size_t kBoth = 131'072; // from here on a file has a middle

// A content of a size, with one byte of its own at a place.
std::string content(std::size_t size, std::size_t place = 0, char mark = 'a') {
  std::string text(size, 'a');
  if (size > 0) text[place] = mark;
  return text;
}

// Every group as its paths: "C:\a=C:\link|D:\b", sorted.
std::set<std::wstring> found(const DuplicatesFound& result) {
  std::set<std::wstring> groups;
  for (const DuplicateGroup& group : result.groups) {
    std::wstring text;
    for (const FileCopy& copy : group.copies) {
      if (!text.empty()) text += L"|";
      for (const FileName& name : copy) text += (&name == &copy.front() ? L"" : L"=") + name.path;
    }
    groups.insert(text);
  }
  return groups;
}

struct Fixture {
  MemoryContents contents;
  std::vector<SizedName> names;
  Run run;

  void add(const std::wstring& path, const std::string& text, std::uint64_t number = 0) {
    names.push_back({text.size(), {path, 0, 1}});
    contents.add(path, text, number);
  }
  DuplicatesFound search() { return findDuplicates(names, contents, run); }
};

} // namespace

TEST_CASE("equal files are found, whatever differs in the others and where") {
  Fixture fixture;
  // One byte that differs, in the head, the middle or the tail, at each kind of size.
  for (const std::size_t size :
       {std::size_t{1}, kBoth - 1, kBoth, kBoth + 1, std::size_t{3'000'000}}) {
    const std::wstring folder = (size % 2 == 0 ? L"C:\\" : L"D:\\") + std::to_wstring(size);
    fixture.add(folder + L"\\same 1", content(size));
    fixture.add(L"\\\\s\\d\\" + std::to_wstring(size), content(size));
    fixture.add(folder + L"\\head", content(size, 0, 'y'));
    fixture.add(folder + L"\\middle", content(size, size / 2, 'z'));
    fixture.add(folder + L"\\tail", content(size, size - 1, 'z' + 1));
  }
  fixture.add(L"C:\\other size", content(77));
  const auto groups = found(fixture.search());
  CHECK(groups == std::set<std::wstring>{L"D:\\1\\same 1|\\\\s\\d\\1",
                                         L"D:\\131071\\same 1|\\\\s\\d\\131071",
                                         L"C:\\131072\\same 1|\\\\s\\d\\131072",
                                         L"D:\\131073\\same 1|\\\\s\\d\\131073",
                                         L"C:\\3000000\\same 1|\\\\s\\d\\3000000"});
  // Only those of equal ends were read to the end: three of each size with a middle.
  const std::uint64_t ends = 5 * (1 + (kBoth - 1) + 3 * kBoth);
  const std::uint64_t expected = ends + 3 * (kBoth + 1) + 3 * 3'000'000;
  CHECK(fixture.contents.bytesRead.load() == expected);
  CHECK(fixture.run.counters().read == expected);
  CHECK(fixture.run.counters().total == expected);
  CHECK(fixture.run.counters().percent() == 100);
}

TEST_CASE("names of one file are one copy, and cost no reading") {
  Fixture fixture;
  fixture.add(L"C:\\a", content(9), 5);
  fixture.add(L"C:\\b", content(9), 5);
  fixture.add(L"C:\\c", content(9), 5);
  CHECK(found(fixture.search()).empty());
  CHECK(fixture.contents.opened == 0);
  fixture.add(L"D:\\d", content(9), 6);
  fixture.add(L"Z:\\e", content(9), 6);
  CHECK(found(fixture.search()) == std::set<std::wstring>{L"C:\\a=C:\\b=C:\\c|D:\\d=Z:\\e"});
  CHECK(fixture.contents.opened == 2);
  // A number that nobody knows tells nothing.
  for (const auto& name : fixture.names) {
    fixture.contents.edit(name.name.path, [](auto& file) { file.number = 0; });
  }
  CHECK(found(fixture.search()).begin()->find(L'=') == std::wstring::npos);
}

TEST_CASE("files that change, vanish, grow, are locked or far away") {
  // What happens to one of three equal files, at which moment, and how it is counted.
  enum class At { look, open, read };
  struct Row {
    At at;
    std::function<void(MemoryContents&, const std::wstring&)> happens;
    std::uint64_t cloud, unreadable, changed;
  };
  const auto rewrite = [](MemoryContents& all, const std::wstring& path) {
    all.rewrite(path, content(200'000, 100'000, 'n'));
  };
  const auto grow = [](MemoryContents& all, const std::wstring& path) {
    all.rewrite(path, content(200'001));
  };
  const auto shrink = [](MemoryContents& all, const std::wstring& path) {
    all.rewrite(path, content(150'000));
  };
  const auto vanish = [](MemoryContents& all, const std::wstring& path) { all.remove(path); };
  const auto replace = [](MemoryContents& all, const std::wstring& path) {
    all.add(path, content(200'000));
  };
  const auto fails = [](std::string_view word) {
    return [word](MemoryContents& all, const std::wstring& path) {
      all.edit(path, [word](auto& file) { file.failure = word; });
    };
  };
  const auto tear = [](MemoryContents& all, const std::wstring& path) {
    all.edit(path, [](auto& file) { file.failsReading = true; });
  };
  const std::vector<Row> rows = {
      {At::look, grow, 0, 0, 1},           {At::look, vanish, 0, 0, 1},
      {At::look, fails("cloud"), 1, 0, 0}, {At::look, fails("unreadable"), 0, 1, 0},
      {At::look, fails("link"), 0, 1, 0},  {At::open, rewrite, 0, 0, 1},
      {At::open, replace, 0, 0, 1},        {At::open, fails("unreadable"), 0, 1, 0},
      {At::open, fails("cloud"), 1, 0, 0}, {At::open, vanish, 0, 0, 1},
      {At::read, rewrite, 0, 0, 1},        {At::read, grow, 0, 0, 1},
      {At::read, shrink, 0, 0, 1},         {At::read, replace, 0, 0, 1},
      {At::read, tear, 0, 1, 0},           {At::read, vanish, 0, 0, 1}};
  // In the first and in the later opening or reading of that file.
  for (const int time : {0, 1, 2}) {
    for (const Row& row : rows) {
      if (time > 0 && row.at == At::look) continue;
      if (time > 1 && row.at == At::open) continue;
      Fixture fixture;
      for (const wchar_t* path : {L"C:\\1", L"C:\\2", L"D:\\3"}) {
        fixture.add(path, content(200'000));
      }
      int times = 0;
      const auto hook = [&](const std::wstring& path) {
        if (path == L"C:\\2" && times++ == time) row.happens(fixture.contents, path);
      };
      if (row.at == At::look) fixture.contents.onLook = hook;
      if (row.at == At::open) fixture.contents.onOpen = hook;
      if (row.at == At::read) fixture.contents.onRead = hook;
      const DuplicatesFound result = fixture.search();
      CAPTURE(time);
      CAPTURE(&row - rows.data());
      CHECK(found(result) == std::set<std::wstring>{L"C:\\1|D:\\3"});
      CHECK(result.cloud == row.cloud);
      CHECK(result.unreadable == row.unreadable);
      CHECK(result.changed == row.changed);
    }
  }
}

TEST_CASE("the percent never runs backwards, and a cancel keeps what is certain") {
  Fixture fixture;
  for (std::size_t i = 0; i < 40; ++i) {
    const std::wstring path = (i % 2 == 0 ? L"C:\\" : L"D:\\") + std::to_wstring(i);
    fixture.add(path, content(i < 20 ? 2'500'000 : 90'000, 0, static_cast<char>('a' + i % 10)));
  }
  std::mutex mutex;
  std::uint64_t highest = 0;
  int steps = 0;
  const auto watch = [&](const std::wstring&) {
    const std::lock_guard lock(mutex);
    const std::uint64_t percent = fixture.run.counters().percent();
    CHECK(percent >= highest);
    if (percent > highest) ++steps;
    highest = percent;
  };
  fixture.contents.onLook = watch;
  fixture.contents.onRead = watch;
  CHECK(fixture.search().groups.size() == 20);
  CHECK(steps > 20);

  Fixture cut;
  for (const wchar_t* path : {L"C:\\1", L"C:\\2", L"C:\\big 1", L"C:\\big 2"}) {
    cut.add(path, content(std::wstring(path).size() > 4 ? 4'000'000 : 1'000'000));
  }
  int opened = 0;
  cut.contents.onOpen = [&](const std::wstring& path) {
    ++opened;
    if (opened > 4 && path.size() == 4) cut.run.cancel();
  };
  CHECK(found(cut.search()) == std::set<std::wstring>{L"C:\\big 1|C:\\big 2"});
}
