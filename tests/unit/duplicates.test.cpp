#include "search/duplicates.h"
#include "support/cases.h"
#include "support/memory_contents.h"

#include <set>

using namespace vorda;
using namespace vorda::test;

namespace {

constexpr std::size_t kBoth = 131'072; // the two ends of a file

// Contents of this size with one different byte.
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

TEST_CASE_FIXTURE(Fixture, "files are read only as far as necessary") {
  for (const std::size_t size : {kBoth - 1, kBoth, kBoth + 1}) {
    const std::wstring path = L"C:\\" + std::to_wstring(size);
    add(path + L" same", content(size));
    add(path, content(size));
    add(path + L" head", content(size, 0, 'y'));
    add(path + L" middle", content(size, size / 2, 'z'));
  }
  add(L"C:\\other size", content(77));
  std::vector<std::uint64_t> stages; // bytes and percentage, when the first file of each is done
  contents.onLook = contents.onIdentity = contents.onOpen = [&](auto&) {
    const RunCounters now = run.counters();
    if (now.filesDone == 1) stages.insert(stages.end(), {now.total, now.percent()});
  };
  CHECK(found(search()) == std::set<std::wstring>{L"C:\\131071|C:\\131071 same",
                                                  L"C:\\131072|C:\\131072 same",
                                                  L"C:\\131073|C:\\131073 same"});
  // The ends of all files, and the three largest with equal ends as a whole.
  const std::uint64_t expected = 4 * (kBoth - 1) + 8 * kBoth + 3 * (kBoth + 1);
  CHECK(contents.bytesRead.load() == expected);
  CHECK(run.counters().read == expected);
  CHECK(stages == std::vector<std::uint64_t>{0, 1, 1'572'860, 26, expected, 60});
}

TEST_CASE_FIXTURE(Fixture, "names of one file are one copy and are not read") {
  add(L"C:\\a", content(9), 5);
  add(L"C:\\b", content(9), 5);
  add(L"C:\\c", content(9), 5);
  CHECK(found(search()).empty());
  CHECK(contents.opened == 0);
  for (const wchar_t* path : {L"D:\\d", L"Z:\\e"}) {
    add(path, content(9), 6);
    contents.edit(path, [](auto& file) { file.state.lastWrite = 2; });
  }
  CHECK(found(search()) == std::set<std::wstring>{L"C:\\a=C:\\b=C:\\c|D:\\d=Z:\\e"});
  CHECK(contents.opened == 2);
  for (const auto& name : names) {
    contents.edit(name.name.path, [](auto& file) { file.number = 0; });
  }
  CHECK(found(search()).begin()->find(L'=') == std::wstring::npos);
}

TEST_CASE("files that change, disappear or cannot be read") {
  const auto happens = [](const std::string& what, MemoryContents& all, const std::wstring& path) {
    if (what == "rewritten") return all.rewrite(path, content(200'000, 100'000, 'n'));
    if (what == "grown") return all.rewrite(path, content(200'001));
    if (what == "cut") return all.rewrite(path, content(150'000));
    if (what == "gone") return all.remove(path);
    if (what == "replaced") return all.add(path, content(200'000));
    all.edit(path, [&](auto& file) {
      file.failsReading = what == "torn";
      for (const auto one : {FileFailure::cloud, FileFailure::link, FileFailure::unreadable}) {
        if (what == wordOf(one)) file.failure = one;
      }
    });
  };
  for (const auto& row : cases("changing_files.txt", 4)) {
    Fixture fixture;
    for (const wchar_t* path : {L"C:\\1", L"C:\\2", L"D:\\3"}) fixture.add(path, content(200'000));
    int times = 0;
    const auto hook = [&](const std::wstring& path) {
      if (path == L"C:\\2" && ++times == std::stoi(row[1])) happens(row[2], fixture.contents, path);
    };
    MemoryContents& all = fixture.contents;
    (row[0] == "look"    ? all.onLook
     : row[0] == "open"  ? all.onOpen
     : row[0] == "state" ? all.onState
                         : all.onRead) = hook;
    const DuplicatesFound result = fixture.search();
    CAPTURE(row[0] + row[1] + row[2]);
    CHECK(found(result) == std::set<std::wstring>{L"C:\\1|D:\\3"});
    CHECK(result.cloud == (row[3] == "cloud" ? 1 : 0));
    CHECK(result.unreadable == (row[3] == "unreadable" ? 1 : 0));
    CHECK(result.changed == (row[3] == "changed" ? 1 : 0));
  }
}

TEST_CASE_FIXTURE(Fixture, "the percentage never decreases, and a cancel keeps certain groups") {
  for (std::size_t i = 0; i < 40; ++i) {
    const std::wstring path = (i % 2 == 0 ? L"C:\\" : L"D:\\") + std::to_wstring(i);
    add(path, content(i < 20 ? 2'500'000 : 90'000, 0, static_cast<char>('a' + i % 10)));
    contents.edit(path, [](auto& file) { file.state.lastWrite = 1; });
  }
  std::mutex mutex;
  std::uint64_t highest = 0;
  int steps = 0;
  const auto watch = [&](const std::wstring&) {
    const std::lock_guard lock(mutex);
    CHECK(MemoryContents::lowered());
    const std::uint64_t percent = run.counters().percent();
    CHECK(percent >= highest);
    if (percent > highest) ++steps;
    highest = percent;
  };
  contents.onLook = contents.onIdentity = contents.onRead = watch;
  CHECK(search().groups.size() == 20);
  CHECK(steps > 20);

  Fixture cut;
  // Many smaller ones waste more than three large ones, which are equal as far as they are read.
  for (const wchar_t* path : {L"C:\\1", L"C:\\2", L"C:\\3"}) cut.add(path, content(2'400'000));
  for (const wchar_t* path : {L"C:\\least", L"C:\\less"}) cut.add(path, content(200'000));
  for (int i = 0; i < 6; ++i) cut.add(L"C:\\many" + std::to_wstring(i), content(1'200'000));
  int opened = 0;
  cut.contents.onOpen = [&](const std::wstring& path) {
    ++opened;
    if (opened > 11 && path.size() == 4) cut.run.cancel();
  };
  CHECK(found(cut.search()) ==
        std::set<std::wstring>{L"C:\\many0|C:\\many1|C:\\many2|C:\\many3|C:\\many4|C:\\many5"});
}

TEST_CASE_FIXTURE(Fixture, "files whose contents cannot be hashed count as unreadable") {
  for (const wchar_t* path : {L"C:\\1", L"C:\\2"}) add(path, content(200'000));
  contents.hashersFail = true;
  CHECK(search().unreadable == 2);
}
