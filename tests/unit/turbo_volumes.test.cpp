#include "base/paths.h"
#include "base/text.h"
#include "scan/turbo/boot_sector.h"
#include "scan/turbo/table_extents.h"

#include "support/cases.h"
#include "support/turbo_reading.h"

using namespace vorda;
using namespace vorda::test;

namespace {

// Parses a record of tests/data/mft_volumes.txt.
TestRecord written(std::istream& line) {
  std::map<std::string, std::vector<std::string>> words;
  for (std::string word; line >> word;) {
    const std::size_t sign = std::min(word.find('='), word.size());
    words[word.substr(0, sign)].push_back(word.substr(std::min(sign + 1, word.size())));
  }
  const auto number = [&words](const char* word, std::uint64_t otherwise = 0) {
    return words.contains(word) ? std::stoull(words[word][0]) : otherwise;
  };
  const auto referenceIn = [](const std::string& text) {
    return reference(std::stoull(text), std::stoull(text.substr(text.find('/') + 1)));
  };
  const std::uint64_t base = words.contains("ext") ? referenceIn(words["ext"][0]) : 0;
  TestRecord record(words.contains("dir"), base, static_cast<std::uint16_t>(number("seq", 1)));
  if (words.contains("time")) {
    record.modified(116'444'736'000'000'000 + number("time") * 10'000);
  }
  for (const std::string& name : words["name"]) {
    const std::size_t at = name.find('@');
    const std::size_t space = name.find(':');
    record.name(toUtf16(name.substr(0, at)), referenceIn(name.substr(at + 1)),
                space == std::string::npos ? 1 : static_cast<std::uint8_t>(name[space + 1] - '0'));
  }
  if (words.contains("data")) record.data(number("data"));
  if (words.contains("in")) record.resident(kData, Bytes(number("in")));
  return record;
}

} // namespace

TEST_CASE("boot sectors: valid and invalid layouts") {
  for (const auto& row : cases("mft_boot.txt", 8)) {
    Bytes boot = TestVolume().image();
    const std::size_t places[] = {11, 13, 64, 40, 48};
    const std::size_t sizes[] = {2, 1, 1, 8, 8};
    for (std::size_t i = 0; i < 5; ++i) put(boot, places[i], std::stoull(row[i]), sizes[i]);
    MftLayout layout;
    CAPTURE(row[1] + " " + row[2]);
    REQUIRE(decodeBoot({boot.data(), 512}, layout) == (row[5] == "-" ? std::string() : row[5]));
    if (row[5] != "-") continue;
    CHECK(std::to_string(layout.clusterBytes) == row[6]);
    CHECK(std::to_string(layout.recordBytes) == row[7]);
  }
  MftLayout layout;
  CHECK(decodeBoot({}, layout) == kMftNotNtfs);
}

TEST_CASE("run lists") {
  for (auto& row : cases("mft_runs.txt", 2)) {
    std::erase(row[0], ' ');
    Bytes list;
    for (std::size_t i = 0; i < row[0].size(); i += 2) {
      list.push_back(static_cast<std::uint8_t>(std::stoi(row[0].substr(i, 2), nullptr, 16)));
    }
    std::vector<Extent> extents;
    const bool good = decodeRuns({list.data(), list.size()}, 1000, extents);
    CHECK((good ? placesOf(extents) : "refused") == row[1]);
  }
}

TEST_CASE("volumes described in mft_volumes.txt") {
  TestVolume volume;
  Lines expected;
  std::wstring counts;
  std::string called;
  const auto check = [&] {
    CAPTURE(called);
    const Reading read = reading(opens(volume.image()));
    CHECK(listed(read) == expected);
    CHECK(counts == std::to_wstring(read.result.fileCount) + L" files, " +
                        std::to_wstring(read.result.folderCount) + L" folders, " +
                        std::to_wstring(read.result.folders[0].ownFiles) + L" in the root");
    // The list has all files but a few, which have no type.
    TypeTotals types;
    for (const FileEntry& file : read.result.files) addToType(types, file.name, file.size);
    for (const auto& [type, total] : read.result.types) {
      CHECK((type == L"(none)" || types[type].bytes == total.bytes));
      CHECK((type == L"(none)" || types[type].files == total.files));
    }
    for (const auto& [type, total] : types) CHECK(read.result.types.contains(type));
    CHECK(read.result.folders[0].totalFiles == read.result.fileCount);
    CHECK(read.result.folders[0].totalBytes == read.result.byteCount);
    volume = TestVolume();
    expected.clear();
  };
  for (const auto& row : cases("mft_volumes.txt", 1)) {
    std::istringstream line(row[0]);
    std::string first;
    line >> first;
    const std::wstring rest = toUtf16(row[0].substr(std::min(first.size() + 1, row[0].size())));
    if (first == "=" && rest.ends_with(L" in the root")) {
      counts = rest;
      check();
    } else if (first == "=") {
      expected.insert(rest);
    } else if (first[0] >= '0' && first[0] <= '9') {
      volume.add(static_cast<std::uint32_t>(std::stoul(first)), written(line));
    } else {
      called = row[0];
    }
  }
  CHECK(expected.empty());
}
