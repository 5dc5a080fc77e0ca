#include "scan/folder_reader.h"

#include "base/one_name.h"
#include "base/paths.h"
#include "scan/listing_buffer.h"
#include "win/full_path.h"
#include "win/handles.h"
#include "win/memory_error.h"

#include <windows.h>

namespace vorda {

namespace {

std::uint64_t join(DWORD high, DWORD low) { return (static_cast<std::uint64_t>(high) << 32) | low; }

bool isFolder(const std::wstring& path) {
  const DWORD attributes = GetFileAttributesW(systemPath(path).c_str());
  return attributes != INVALID_FILE_ATTRIBUTES && (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
}

bool isDots(std::wstring_view name) { return name == L"." || name == L".."; }

void setAttributes(FolderItem& item, DWORD attributes) {
  item.attributes = attributes;
  item.folder = (attributes & FILE_ATTRIBUTE_DIRECTORY) != 0;
  item.hidden = (attributes & FILE_ATTRIBUTE_HIDDEN) != 0;
  item.reparsePoint = (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0;
}

// Lists a folder through its handle, which tells allocations and, on most file systems,
// identities.
class HandleListing {
public:
  // False if the folder cannot be listed in this way; it may be possible by name.
  bool open(const std::wstring& folder) {
    if (refused_ || !openFolder(folder)) return false;
    if (fill() != Filled::failed) return true;
    if (kind_ == ListingKind::withIdentities && isRefusal(GetLastError())) {
      kind_ = ListingKind::plain;
      if (openFolder(folder) && fill() != Filled::failed) return true;
      refused_ = isRefusal(GetLastError());
    }
    close();
    return false;
  }

  bool isOpen() const { return folder_.valid(); }
  void close() { folder_.reset(); }

  // False at the end, and after an error, which sets failed.
  bool next(FolderItem& item, bool& failed) {
    ListingEntry entry;
    do {
      while (!walk_.next(entry)) {
        const Filled filled = walk_.broken() ? Filled::failed : fill();
        if (filled == Filled::entries) continue;
        failed = filled == Filled::failed;
        close();
        return false;
      }
      item.name = nameOf(entry);
    } while (isDots(item.name));
    setAttributes(item, entry.attributes);
    item.size = entry.size;
    item.lastWrite = entry.lastWrite;
    item.disk = entry.disk;
    item.id = entry.id;
    item.tag = entry.tag;
    return true;
  }

private:
  static constexpr std::size_t kBytes = 65'536;
  struct alignas(8) Buffer {
    std::uint8_t bytes[kBytes];
  };
  enum class Filled { entries, end, failed };

  static bool isRefusal(DWORD error) {
    return error == ERROR_INVALID_PARAMETER || error == ERROR_NOT_SUPPORTED ||
           error == ERROR_INVALID_FUNCTION || error == ERROR_INVALID_LEVEL ||
           error == ERROR_CALL_NOT_IMPLEMENTED;
  }

  bool openFolder(const std::wstring& folder) {
    folder_.reset(CreateFileW(folder.c_str(), FILE_LIST_DIRECTORY,
                              FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr,
                              OPEN_EXISTING, FILE_FLAG_BACKUP_SEMANTICS, nullptr));
    return folder_.valid();
  }

  Filled fill() {
    if (!buffer_) buffer_ = std::make_unique<Buffer>();
    walk_ = ListingWalk();
    const auto kind =
        kind_ == ListingKind::withIdentities ? FileIdBothDirectoryInfo : FileFullDirectoryInfo;
    if (GetFileInformationByHandleEx(folder_.get(), kind, buffer_->bytes, kBytes) != FALSE) {
      walk_ = ListingWalk({buffer_->bytes, kBytes}, kind_);
      return Filled::entries;
    }
    const DWORD error = GetLastError();
    const bool end = error == ERROR_NO_MORE_FILES || error == ERROR_FILE_NOT_FOUND;
    if (!end) throwIfOutOfMemory(error);
    return end ? Filled::end : Filled::failed;
  }

  // The buffer is aligned, and so is every name in it.
  std::wstring_view nameOf(const ListingEntry& entry) const {
    return {reinterpret_cast<const wchar_t*>(buffer_->bytes + entry.nameAt), entry.nameUnits};
  }

  FileHandle folder_;
  std::unique_ptr<Buffer> buffer_;
  ListingWalk walk_;
  ListingKind kind_ = ListingKind::withIdentities;
  bool refused_ = false; // this file system lists by name only
};

// Where a folder cannot be listed through its handle, it is listed by name.
class SystemReader final : public FolderReader {
public:
  bool open(const std::wstring& folder, bool literal) override {
    const std::wstring plain = joinPath(folder, L"*");
    pattern_ = literal ? literalPath(plain) : systemPath(plain);
    find_.reset();
    listing_.close();
    endedEarly_ = false;
    // Without its "*", the pattern is the folder; a root keeps its separator.
    if (listing_.open(pattern_.substr(0, pattern_.size() - 1))) return true;
    find_.reset(FindFirstFileExW(pattern_.c_str(), FindExInfoBasic, &data_, FindExSearchNameMatch,
                                 nullptr, FIND_FIRST_EX_LARGE_FETCH));
    fresh_ = find_.valid();
    if (fresh_) return true;
    const DWORD failure = GetLastError();
    throwIfOutOfMemory(failure);
    // The root of a drive has no entries "." and "..", so an empty one has nothing to find.
    return failure == ERROR_FILE_NOT_FOUND && isFolder(folder);
  }

  bool next(FolderItem& item) override {
    const bool more =
        listing_.isOpen() ? listing_.next(item, endedEarly_) : find_.valid() && found(item);
    if (more && leadsElsewhere(item.name)) item.name = oneName_ = asOneName(item.name);
    return more;
  }

  bool endedEarly() const override { return endedEarly_; }

private:
  bool found(FolderItem& item) {
    do {
      if (!fresh_ && FindNextFileW(find_.get(), &data_) == FALSE) {
        const DWORD failure = GetLastError();
        find_.reset();
        throwIfOutOfMemory(failure);
        endedEarly_ = failure != ERROR_NO_MORE_FILES;
        return false;
      }
      fresh_ = false;
    } while (isDots(std::wstring_view(data_.cFileName)));
    item.name = data_.cFileName;
    setAttributes(item, data_.dwFileAttributes);
    item.tag = item.reparsePoint ? data_.dwReserved0 : kNoReparseTag;
    item.disk = kUnknownDisk;
    item.id = 0;
    item.size = join(data_.nFileSizeHigh, data_.nFileSizeLow);
    item.lastWrite =
        join(data_.ftLastWriteTime.dwHighDateTime, data_.ftLastWriteTime.dwLowDateTime);
    return true;
  }

  HandleListing listing_;
  FindHandle find_;
  WIN32_FIND_DATAW data_{};
  std::wstring pattern_;
  std::wstring oneName_;
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
    facts.attributes = data.dwFileAttributes;
    return facts;
  }

  std::uint32_t clusterBytes(const std::wstring& path) override {
    DWORD sectors = 0;
    DWORD bytes = 0;
    DWORD free = 0;
    DWORD all = 0;
    const std::wstring folder = systemPath(joinPath(path, L""));
    return GetDiskFreeSpaceW(folder.c_str(), &sectors, &bytes, &free, &all) == FALSE
               ? 0
               : sectors * bytes;
  }

  std::uint64_t allocatedBytes(const std::wstring& path) override {
    const FileHandle file(
        CreateFileW(systemPath(path).c_str(), FILE_READ_ATTRIBUTES,
                    FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE, nullptr, OPEN_EXISTING,
                    FILE_FLAG_BACKUP_SEMANTICS | FILE_FLAG_OPEN_REPARSE_POINT, nullptr));
    FILE_STANDARD_INFO facts{};
    if (!file.valid() ||
        GetFileInformationByHandleEx(file.get(), FileStandardInfo, &facts, sizeof facts) == FALSE) {
      return kUnknownDisk;
    }
    return static_cast<std::uint64_t>(facts.AllocationSize.QuadPart);
  }

  std::wstring absolute(const std::wstring& path) override {
    return isPlainAbsolute(path) ? path : fullPath(path);
  }
};

} // namespace

std::unique_ptr<FolderSource> systemFolders() { return std::make_unique<SystemFolders>(); }

} // namespace vorda
