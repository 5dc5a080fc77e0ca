#include "base/paths.h"
#include "search/file_contents.h"
#include "win/handles.h"

#include <doctest/doctest.h>

#include <filesystem>

using namespace vorda;

namespace {

// A folder that goes away with everything in it.
struct Scratch {
  std::wstring path;
  Scratch() {
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    path = temp + (L"vorda-contents-" + std::to_wstring(GetCurrentProcessId()));
    CreateDirectoryW(path.c_str(), nullptr);
  }
  ~Scratch() { std::filesystem::remove_all(path); }
  Scratch(const Scratch&) = delete;
  Scratch& operator=(const Scratch&) = delete;
};

FileHandle openWith(const std::wstring& path, DWORD access, DWORD share, DWORD how) {
  return FileHandle(
      CreateFileW(literalPath(path).c_str(), access, share, nullptr, how, 0, nullptr));
}

void write(const std::wstring& path, std::string_view text) {
  const FileHandle file = openWith(path, GENERIC_WRITE, 0, CREATE_ALWAYS);
  DWORD written = 0;
  REQUIRE(WriteFile(file.get(), text.data(), static_cast<DWORD>(text.size()), &written, nullptr));
}

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

} // namespace

TEST_CASE("files of the system: what is told of them, who may have them open, what they hold") {
  const Scratch scratch;
  const auto contents = systemContents();
  const std::wstring file = scratch.path + L"\\a file";
  write(file, "abc");
  std::string_view failure;
  // Another name of the same file, and a longer one than the system likes.
  const std::wstring link = scratch.path + L"\\" + std::wstring(240, L'n');
  REQUIRE(CreateHardLinkW(literalPath(link).c_str(), file.c_str(), nullptr));
  const auto state = contents->look(file, failure);
  REQUIRE(state);
  CHECK(state->size == 3);
  CHECK(contents->look(link, failure) == state);
  const auto identity = contents->identity(file);
  REQUIRE(identity);
  write(scratch.path + L"\\other", "abc");
  CHECK(contents->identity(link) == identity);
  CHECK(contents->identity(scratch.path + L"\\other")->volume == identity->volume);
  CHECK(contents->identity(scratch.path + L"\\other") != identity);
  CHECK_FALSE(contents->identity(scratch.path + L"\\none"));

  const auto opened = contents->open(link, Writers::refused, failure);
  REQUIRE(opened);
  CHECK(opened->state()->file == state);
  std::array<std::byte, 8> bytes{};
  CHECK(opened->read(1, bytes) == 2);
  CHECK(opened->read(3, bytes) == 0);
  CHECK(opened->read(1ULL << 40, bytes) == 0);
  const auto hasher = contents->hasher();
  CHECK(opened->read(0, bytes) == 3);
  hasher->add(std::span(bytes).first(1));
  hasher->add(std::span(bytes).subspan(1, 2));
  const auto digest = hasher->finish();
  REQUIRE(digest);
  CHECK(digest->front() == 0xba); // the published digest of "abc": ba7816bf … f20015ad
  CHECK(digest->at(1) == 0x78);
  CHECK(digest->back() == 0xad);
  // Nobody writes to it while it is checked.
  CHECK_FALSE(openWith(file, GENERIC_WRITE, kShareAll, OPEN_EXISTING).valid());

  const std::wstring other = scratch.path + L"\\other";
  {
    const FileHandle writer = openWith(other, GENERIC_WRITE, kShareAll, OPEN_EXISTING);
    CHECK(contents->open(other, Writers::allowed, failure));
    CHECK_FALSE(contents->open(other, Writers::refused, failure));
    CHECK(failure == "unreadable");
  }
  {
    const FileHandle owner = openWith(other, GENERIC_READ, 0, OPEN_EXISTING);
    CHECK(contents->look(other, failure));
    CHECK_FALSE(contents->open(other, Writers::allowed, failure));
    CHECK(failure == "unreadable");
  }
  // What gets another name while it is open is no longer what it was.
  const auto renamed = contents->open(other, Writers::refused, failure);
  const auto before = renamed->state();
  REQUIRE(MoveFileW(other.c_str(), (other + L" now").c_str()));
  CHECK(renamed->state() != before);

  const std::vector<std::pair<std::wstring, std::string_view>> rows = {
      {scratch.path + L"\\none", "missing"},
      {scratch.path + L"\\none\\none", "missing"},
      {L"C:\\NUL", "missing"},
      {scratch.path, "unreadable"},
      {L"a file", "unreadable"},
      {scratch.path + L"\\.\\a file", "unreadable"},
      {L"\\\\.\\NUL", "unreadable"},
      {L"\\\\?\\" + file, "unreadable"}};
  for (const auto& row : rows) {
    const auto& path = row.first;
    const std::string_view word = row.second;
    CAPTURE(word);
    CHECK_FALSE(contents->look(path, failure));
    CHECK(failure == word);
    failure = {};
    CHECK_FALSE(contents->open(path, Writers::allowed, failure));
    CHECK(failure == word);
  }
}
