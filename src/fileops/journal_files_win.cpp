#include "fileops/journal_files_win.h"

#include "base/paths.h"
#include "fileops/deletion_log_win.h"
#include "win/handles.h"
#include "win/write_all.h"

#include <windows.h>

#include <string>
#include <utility>

namespace vorda {

namespace {

constexpr std::wstring_view kPrefix = L"verwijderd-";
constexpr std::wstring_view kSuffix = L".journaal";
constexpr unsigned kMostNames = 1'000; // tried before giving up
constexpr std::uint64_t kMostBytes = 1'073'741'824;

std::wstring logFolder() { return std::wstring(folderPart(deletionLogPath())); }

class DiskJournal final : public JournalFile {
public:
  DiskJournal(FileHandle file, std::wstring path)
      : file_(std::move(file)), path_(std::move(path)) {}

  bool write(std::string_view bytes) {
    return writeAll(file_.get(), bytes) == ERROR_SUCCESS && FlushFileBuffers(file_.get()) != FALSE;
  }

  // Before it is closed, or somebody could take it for one that was left behind.
  void remove() override {
    FILE_DISPOSITION_INFO disposition = {TRUE};
    const bool goes = SetFileInformationByHandle(file_.get(), FileDispositionInfo, &disposition,
                                                 sizeof disposition) != FALSE;
    file_.reset();
    if (!goes) DeleteFileW(path_.c_str());
  }

private:
  FileHandle file_;
  std::wstring path_;
};

FileHandle openAlone(const std::wstring& path, DWORD access, DWORD how) {
  return FileHandle(
      CreateFileW(path.c_str(), access | DELETE, 0, nullptr, how, FILE_ATTRIBUTE_NORMAL, nullptr));
}

bool readAll(HANDLE file, std::string& bytes) {
  LARGE_INTEGER size{};
  if (GetFileSizeEx(file, &size) == FALSE || size.QuadPart < 0 ||
      static_cast<std::uint64_t>(size.QuadPart) > kMostBytes) {
    return false;
  }
  bytes.resize(static_cast<std::size_t>(size.QuadPart));
  DWORD count = 0;
  return ReadFile(file, bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) != FALSE &&
         count == bytes.size();
}

} // namespace

std::unique_ptr<JournalFile> writeJournalFile(std::string_view bytes) {
  const std::wstring folder = logFolder();
  CreateDirectoryW(folder.substr(0, folder.size() - 1).c_str(), nullptr);
  const std::wstring start =
      folder + std::wstring(kPrefix) + std::to_wstring(GetCurrentProcessId());
  for (unsigned i = 0; i < kMostNames; ++i) {
    std::wstring path = start + L"-" + std::to_wstring(i) + std::wstring(kSuffix);
    FileHandle file = openAlone(path, GENERIC_WRITE, CREATE_NEW);
    if (!file.valid()) {
      const DWORD failure = GetLastError();
      if (failure == ERROR_FILE_EXISTS || failure == ERROR_SHARING_VIOLATION ||
          failure == ERROR_ACCESS_DENIED) {
        continue;
      }
      return nullptr;
    }
    auto journal = std::make_unique<DiskJournal>(std::move(file), std::move(path));
    if (journal->write(bytes)) return journal;
    journal->remove();
    return nullptr;
  }
  return nullptr;
}

std::vector<FoundJournal> abandonedJournalFiles() {
  std::vector<FoundJournal> all;
  const std::wstring folder = logFolder();
  const std::wstring pattern = folder + std::wstring(kPrefix) + L"*" + std::wstring(kSuffix);
  WIN32_FIND_DATAW data{};
  const FindHandle find(
      FindFirstFileExW(pattern.c_str(), FindExInfoBasic, &data, FindExSearchNameMatch, nullptr, 0));
  if (!find.valid()) return all;
  do {
    std::wstring path = folder + data.cFileName;
    FileHandle file = openAlone(path, GENERIC_READ, OPEN_EXISTING);
    FoundJournal found;
    if (!file.valid() || !readAll(file.get(), found.bytes)) continue;
    found.file = std::make_unique<DiskJournal>(std::move(file), std::move(path));
    all.push_back(std::move(found));
  } while (FindNextFileW(find.get(), &data) != FALSE);
  return all;
}

} // namespace vorda
