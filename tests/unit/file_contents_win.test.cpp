#include "base/paths.h"
#include "search/file_contents.h"
#include "win/handles.h"

#include <doctest/doctest.h>

#include <filesystem>

using namespace vorda;

namespace {

struct Scratch {
  std::wstring folder;
  std::unique_ptr<FileContents> contents = systemContents();
  FileFailure failure = FileFailure::none;
  Scratch() {
    wchar_t temp[MAX_PATH];
    GetTempPathW(MAX_PATH, temp);
    folder = temp + (L"vorda-contents-" + std::to_wstring(GetCurrentProcessId()));
    CreateDirectoryW(folder.c_str(), nullptr);
  }
  ~Scratch() { std::filesystem::remove_all(folder); }
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

} // namespace

TEST_CASE_FIXTURE(Scratch, "system files: state, identity, sharing and contents") {
  const std::wstring file = folder + L"\\a file";
  write(file, "abc");
  // A second name of the file, longer than MAX_PATH.
  const std::wstring link = folder + L"\\" + std::wstring(240, L'n');
  REQUIRE(CreateHardLinkW(literalPath(link).c_str(), file.c_str(), nullptr));
  const auto state = contents->look(file, failure);
  REQUIRE(state);
  CHECK(state->size == 3);
  CHECK(contents->look(link, failure) == state);
  const auto identity = contents->identity(file);
  REQUIRE(identity);
  write(folder + L"\\other", "abc");
  CHECK(contents->identity(link) == identity);
  CHECK(contents->identity(folder + L"\\other")->volume == identity->volume);
  CHECK(contents->identity(folder + L"\\other") != identity);
  CHECK_FALSE(contents->identity(folder + L"\\none"));

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
  // Nobody else can write to it meanwhile.
  CHECK_FALSE(openWith(file, GENERIC_WRITE, kShareAll, OPEN_EXISTING).valid());
}

TEST_CASE_FIXTURE(Scratch, "system files that others have open, and that are renamed") {
  const std::wstring other = folder + L"\\other";
  write(other, "abc");
  {
    const FileHandle writer = openWith(other, GENERIC_WRITE, kShareAll, OPEN_EXISTING);
    CHECK(contents->open(other, Writers::allowed, failure));
    CHECK_FALSE(contents->open(other, Writers::refused, failure));
    CHECK(failure == FileFailure::unreadable);
  }
  {
    const FileHandle owner = openWith(other, GENERIC_READ, 0, OPEN_EXISTING);
    CHECK(contents->look(other, failure));
    CHECK_FALSE(contents->open(other, Writers::allowed, failure));
    CHECK(failure == FileFailure::unreadable);
  }
  const auto renamed = contents->open(other, Writers::refused, failure);
  const auto before = renamed->state();
  REQUIRE(MoveFileW(other.c_str(), (other + L" now").c_str()));
  CHECK(renamed->state() != before);
}

TEST_CASE_FIXTURE(Scratch, "paths that cannot be read") {
  const std::wstring file = folder + L"\\a file";
  write(file, "abc");
  const std::vector<std::pair<std::wstring, FileFailure>> rows = {
      {folder + L"\\none", FileFailure::missing},
      {folder + L"\\none\\none", FileFailure::missing},
      {L"C:\\NUL", FileFailure::missing},
      {folder, FileFailure::unreadable},
      {L"a file", FileFailure::unreadable},
      {folder + L"\\.\\a file", FileFailure::unreadable},
      {L"\\\\.\\NUL", FileFailure::unreadable},
      {L"\\\\?\\" + file, FileFailure::unreadable}};
  for (const auto& row : rows) {
    const std::wstring& path = row.first;
    CHECK_FALSE(contents->look(path, failure));
    CHECK(failure == row.second);
    failure = FileFailure::none;
    CHECK_FALSE(contents->open(path, Writers::allowed, failure));
    CHECK(failure == row.second);
  }
}
