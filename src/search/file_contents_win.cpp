#include "search/file_contents.h"

#include "base/paths.h"
#include "win/file_identity.h"
#include "win/handles.h"

#include <windows.h>

#include <bcrypt.h>

#include <utility>

namespace vorda {

namespace {

// The second and the third are missing from the MinGW headers.
constexpr DWORD kRecallOnOpen = 0x0004'0000;
constexpr DWORD kRecallOnDataAccess = 0x0040'0000;
constexpr DWORD kInTheCloud = FILE_ATTRIBUTE_OFFLINE | kRecallOnOpen | kRecallOnDataAccess;

std::uint64_t join(DWORD high, DWORD low) { return (static_cast<std::uint64_t>(high) << 32) | low; }

FileFailure failureOf(DWORD error) {
  switch (error) {
  case ERROR_FILE_NOT_FOUND:
  case ERROR_PATH_NOT_FOUND:
  case ERROR_BAD_NETPATH:
  case ERROR_BAD_NET_NAME:
  case ERROR_INVALID_NAME: return FileFailure::missing;
  default: return FileFailure::unreadable;
  }
}

// The literal form of a path, in which no name is reinterpreted. Nothing for relative paths,
// devices and wildcards.
std::optional<std::wstring> plainSystemPath(const std::wstring& path) {
  const bool plain = isPlainAbsolute(path) && path.find_first_of(L"?*") == std::wstring::npos;
  return plain ? std::optional(literalPath(path)) : std::nullopt;
}

FileHandle openPath(const std::wstring& path, DWORD access, DWORD share, DWORD flags,
                    FileFailure& failure) {
  const std::optional<std::wstring> name = plainSystemPath(path);
  failure = FileFailure::unreadable;
  if (!name) return FileHandle();
  FileHandle file(
      CreateFileW(name->c_str(), access, share, nullptr, OPEN_EXISTING, flags, nullptr));
  if (!file.valid()) {
    failure = failureOf(GetLastError());
  } else if (GetFileType(file.get()) != FILE_TYPE_DISK) {
    file.reset();
  } else {
    failure = FileFailure::none;
  }
  return file;
}

// Why a file with these attributes is not read.
FileFailure failureOfKind(DWORD attributes) {
  if ((attributes & FILE_ATTRIBUTE_DIRECTORY) != 0) return FileFailure::unreadable;
  if ((attributes & kInTheCloud) != 0) return FileFailure::cloud;
  return (attributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0 ? FileFailure::link : FileFailure::none;
}

// Avoids GetFileInformationByHandle, which also queries the volume: slow, and one more round trip
// on shares.
std::optional<OpenState> stateOf(HANDLE file, FileFailure& failure) {
  FILE_BASIC_INFO basic{};
  FILE_STANDARD_INFO standard{};
  failure = FileFailure::unreadable;
  if (GetFileInformationByHandleEx(file, FileBasicInfo, &basic, sizeof basic) == FALSE ||
      GetFileInformationByHandleEx(file, FileStandardInfo, &standard, sizeof standard) == FALSE) {
    return std::nullopt;
  }
  failure = failureOfKind(basic.FileAttributes);
  if (standard.DeletePending != FALSE || standard.NumberOfLinks == 0)
    failure = FileFailure::missing;
  if (failure != FileFailure::none) return std::nullopt;
  const auto number = [](LARGE_INTEGER value) {
    return static_cast<std::uint64_t>(value.QuadPart);
  };
  return OpenState{
      {number(standard.EndOfFile), number(basic.CreationTime), number(basic.LastWriteTime)},
      number(basic.ChangeTime)};
}

class SystemFile final : public ContentFile {
public:
  explicit SystemFile(FileHandle file) : file_(std::move(file)) {}

  std::optional<OpenState> state() override {
    FileFailure failure = FileFailure::none;
    return stateOf(file_.get(), failure);
  }

  std::optional<std::size_t> read(std::uint64_t offset, std::span<std::byte> into) override {
    std::size_t done = 0;
    while (done < into.size()) {
      OVERLAPPED place{};
      place.Offset = static_cast<DWORD>((offset + done) & 0xFFFFFFFF);
      place.OffsetHigh = static_cast<DWORD>((offset + done) >> 32);
      DWORD count = 0;
      if (ReadFile(file_.get(), into.data() + done, static_cast<DWORD>(into.size() - done), &count,
                   &place) == FALSE) {
        if (GetLastError() == ERROR_HANDLE_EOF) break;
        return std::nullopt;
      }
      if (count == 0) break;
      done += count;
    }
    return done;
  }

private:
  FileHandle file_;
};

using HashHandle = Owned<BCRYPT_HASH_HANDLE, BCryptDestroyHash>;

class SystemHasher final : public Hasher {
public:
  explicit SystemHasher(BCRYPT_ALG_HANDLE algorithm) {
    BCRYPT_HASH_HANDLE hash = nullptr;
    good_ = algorithm != nullptr &&
            BCRYPT_SUCCESS(BCryptCreateHash(algorithm, &hash, nullptr, 0, nullptr, 0, 0));
    if (good_) hash_.reset(hash);
  }

  void add(std::span<const std::byte> bytes) override {
    if (!good_) return;
    // The parameter is not const, but the function only reads.
    auto* data = reinterpret_cast<PUCHAR>(const_cast<std::byte*>(bytes.data()));
    good_ = BCRYPT_SUCCESS(BCryptHashData(hash_.get(), data, static_cast<ULONG>(bytes.size()), 0));
  }

  std::optional<Digest> finish() override {
    Digest digest{};
    good_ = good_ && BCRYPT_SUCCESS(BCryptFinishHash(hash_.get(), digest.data(),
                                                     static_cast<ULONG>(digest.size()), 0));
    return good_ ? std::optional(digest) : std::nullopt;
  }

private:
  HashHandle hash_;
  bool good_ = false;
};

class SystemContents final : public FileContents {
public:
  SystemContents() {
    if (!BCRYPT_SUCCESS(BCryptOpenAlgorithmProvider(&sha256_, L"SHA256", nullptr, 0))) {
      sha256_ = nullptr;
    }
  }
  SystemContents(const SystemContents&) = delete;
  SystemContents& operator=(const SystemContents&) = delete;
  ~SystemContents() override {
    if (sha256_ != nullptr) BCryptCloseAlgorithmProvider(sha256_, 0);
  }

  std::optional<FileState> look(const std::wstring& path, FileFailure& failure) override {
    const std::optional<std::wstring> name = plainSystemPath(path);
    WIN32_FILE_ATTRIBUTE_DATA data{};
    failure = FileFailure::unreadable;
    if (!name) return std::nullopt;
    if (GetFileAttributesExW(name->c_str(), GetFileExInfoStandard, &data) == FALSE) {
      failure = failureOf(GetLastError());
      return std::nullopt;
    }
    failure = failureOfKind(data.dwFileAttributes);
    if (failure != FileFailure::none) return std::nullopt;
    return FileState{join(data.nFileSizeHigh, data.nFileSizeLow),
                     join(data.ftCreationTime.dwHighDateTime, data.ftCreationTime.dwLowDateTime),
                     join(data.ftLastWriteTime.dwHighDateTime, data.ftLastWriteTime.dwLowDateTime)};
  }

  std::optional<FileIdentity> identity(const std::wstring& path) override {
    FileFailure failure = FileFailure::none;
    const FileHandle file =
        openPath(path, FILE_READ_ATTRIBUTES, kShareAll,
                 FILE_FLAG_OPEN_NO_RECALL | FILE_FLAG_OPEN_REPARSE_POINT, failure);
    return file.valid() ? fileIdentity(file.get()) : std::nullopt;
  }

  std::unique_ptr<ContentFile> open(const std::wstring& path, Writers writers,
                                    FileFailure& failure) override {
    DWORD share = FILE_SHARE_READ;
    if (writers != Writers::refusedAsDeleters) share |= FILE_SHARE_DELETE;
    if (writers == Writers::allowed) share |= FILE_SHARE_WRITE;
    FileHandle file = openPath(path, GENERIC_READ, share,
                               FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_OPEN_NO_RECALL |
                                   FILE_FLAG_OPEN_REPARSE_POINT,
                               failure);
    if (!file.valid() || !stateOf(file.get(), failure)) return nullptr;
    return std::make_unique<SystemFile>(std::move(file));
  }

  std::unique_ptr<Hasher> hasher() override { return std::make_unique<SystemHasher>(sha256_); }

  // Background mode lowers the priority for the processor, disks and memory.
  void lowerPriority() override {
    SetThreadPriority(GetCurrentThread(), THREAD_MODE_BACKGROUND_BEGIN);
  }

private:
  BCRYPT_ALG_HANDLE sha256_ = nullptr;
};

} // namespace

std::unique_ptr<FileContents> systemContents() { return std::make_unique<SystemContents>(); }

} // namespace vorda
