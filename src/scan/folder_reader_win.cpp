#include "scan/folder_reader.h"

#include "base/paths.h"
#include "win/full_path.h"
#include "win/handles.h"
#include "win/memory_error.h"

#include <windows.h>

namespace vorda {

namespace {

std::uint64_t join(DWORD high, DWORD low) { return (static_cast<std::uint64_t>(high) << 32) | low; }

bool isDots(const wchar_t* name) {
  return name[0] == L'.' && (name[1] == 0 || (name[1] == L'.' && name[2] == 0));
}

bool isFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(systemPath(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

class SystemReader final : public FolderReader {
public:
  bool open(const std::wstring& folder, bool literal) override {
    pattern_ = joinPath(folder, L"*");
    pattern_ = literal ? literalPath(pattern_) : systemPath(pattern_);
    find_.reset(FindFirstFileExW(pattern_.c_str(), FindExInfoBasic, &data_, FindExSearchNameMatch,
                                 nullptr, FIND_FIRST_EX_LARGE_FETCH));
    fresh_ = find_.valid();
    endedEarly_ = false;
    if (fresh_) return true;
    const DWORD failure = GetLastError();
    throwIfOutOfMemory(failure);
    // The root of a drive has no entries "." and "..", so an empty one has nothing to find.
    return failure == ERROR_FILE_NOT_FOUND && isFolder(folder);
  }

  bool next(FolderItem& item) override {
    if (!find_.valid()) return false;
    do {
      if (!fresh_ && FindNextFileW(find_.get(), &data_) == FALSE) {
        const DWORD failure = GetLastError();
        find_.reset();
        throwIfOutOfMemory(failure);
        endedEarly_ = failure != ERROR_NO_MORE_FILES;
        return false;
      }
      fresh_ = false;
    } while (isDots(data_.cFileName));
    item.name = data_.cFileName;
    item.folder = (data_.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    item.hidden = (data_.dwFileAttributes & FILE_ATTRIBUTE_HIDDEN) != 0;
    item.reparsePoint = (data_.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    item.size = join(data_.nFileSizeHigh, data_.nFileSizeLow);
    item.lastWrite =
        join(data_.ftLastWriteTime.dwHighDateTime, data_.ftLastWriteTime.dwLowDateTime);
    return true;
  }

  bool endedEarly() const override { return endedEarly_; }

private:
  FindHandle find_;
  WIN32_FIND_DATAW data_{};
  std::wstring pattern_;
  bool fresh_ = false; // data_ holds an item not yet returned
  bool endedEarly_ = false;
};

class SystemFolders final : public FolderSource {
public:
  std::unique_ptr<FolderReader> reader() override { return std::make_unique<SystemReader>(); }

  PathFacts facts(const std::wstring& path) override {
    PathFacts facts;
    WIN32_FILE_ATTRIBUTE_DATA data{};
    if (GetFileAttributesExW(systemPath(path).c_str(), GetFileExInfoStandard, &data) == FALSE) {
      throwIfOutOfMemory(GetLastError());
      return facts;
    }
    facts.exists = true;
    facts.folder = (data.dwFileAttributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
    facts.reparsePoint = (data.dwFileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
    facts.size = join(data.nFileSizeHigh, data.nFileSizeLow);
    facts.lastWrite = join(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime);
    return facts;
  }

  std::wstring absolute(const std::wstring& path) override {
    return isPlainAbsolute(path) ? path : fullPath(path);
  }
};

} // namespace

std::unique_ptr<FolderSource> systemFolders() { return std::make_unique<SystemFolders>(); }

} // namespace vorda
