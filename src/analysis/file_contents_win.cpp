#include "analysis/file_contents.h"

#include "base/paths.h"
#include "win/file_handle.h"
#include "win/file_identity.h"

#include <windows.h>

#include <bcrypt.h>

#include <algorithm>
#include <utility>

namespace vorda {

namespace {

// The last two are newer than the compiler's headers.
constexpr DWORD kRecallOnOpen = 0x0004'0000;
constexpr DWORD kRecallOnDataAccess = 0x0040'0000;
constexpr DWORD kInTheCloud = FILE_ATTRIBUTE_OFFLINE | kRecallOnOpen | kRecallOnDataAccess;

constexpr DWORD kShareAll = FILE_SHARE_READ | FILE_SHARE_WRITE | FILE_SHARE_DELETE;

// Names that the system would shorten need the prefix that keeps it from doing so.
std::wstring systemPath(const std::wstring& path) {
  const auto parts = pathComponents(path);
  return std::any_of(parts.begin(), parts.end(), losesItsEnd) ? literalPath(path) : LongPath(path);
}

std::string_view failureOf(DWORD error) {
  switch (error) {
  case ERROR_FILE_NOT_FOUND:
  case ERROR_PATH_NOT_FOUND:
  case ERROR_BAD_NETPATH:
  case ERROR_BAD_NET_NAME:
  case ERROR_INVALID_NAME: return "missing";
  default: return "unreadable";
  }
}

// Only what lies on a disk under a name of its own: no devices, pipes or relative names.
FileHandle openPath(const std::wstring& path, DWORD access, DWORD share, DWORD flags,
                    std::string_view& failure) {
  if (!isPlainAbsolute(path) || path.find_first_of(L"?*") != std::wstring::npos) {
    failure = "unreadable";
    return FileHandle();
  }
  FileHandle file(
      CreateFileW(systemPath(path).c_str(), access, share, nullptr, OPEN_EXISTING, flags, nullptr));
  if (!file.valid()) {
    failure = failureOf(GetLastError());
  } else if (GetFileType(file.get()) != FILE_TYPE_DISK) {
    failure = "unreadable";
    file.reset();
  }
  return file;
}

// Two questions that the file system answers from what it has at hand. Not
// GetFileInformationByHandle, which also asks for the volume: a round trip of its own on
// shares, and a slow one elsewhere.
std::optional<FileState> stateOf(HANDLE file, std::string_view& failure) {
  FILE_BASIC_INFO basic{};
  FILE_STANDARD_INFO standard{};
  failure = "unreadable";
  if (GetFileInformationByHandleEx(file, FileBasicInfo, &basic, sizeof basic) == FALSE ||
      GetFileInformationByHandleEx(file, FileStandardInfo, &standard, sizeof standard) == FALSE ||
      standard.Directory != FALSE || standard.EndOfFile.QuadPart < 0) {
    return std::nullopt;
  }
  if ((basic.FileAttributes & kInTheCloud) != 0) {
    failure = "cloud";
    return std::nullopt;
  }
  if ((basic.FileAttributes & FILE_ATTRIBUTE_REPARSE_POINT) != 0) {
    failure = "link";
    return std::nullopt;
  }
  if (standard.DeletePending != FALSE || standard.NumberOfLinks == 0) {
    failure = "missing";
    return std::nullopt;
  }
  failure = {};
  const auto time = [](LARGE_INTEGER value) { return static_cast<std::uint64_t>(value.QuadPart); };
  return FileState{static_cast<std::uint64_t>(standard.EndOfFile.QuadPart),
                   time(basic.CreationTime), time(basic.LastWriteTime), time(basic.ChangeTime)};
}

class SystemFile final : public ContentFile {
public:
  explicit SystemFile(FileHandle file) : file_(std::move(file)) {}

  std::optional<FileState> state() override {
    std::string_view failure;
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

struct HashHandleKind {
  using Value = BCRYPT_HASH_HANDLE;
  static Value none() { return nullptr; }
  static void close(Value value) { BCryptDestroyHash(value); }
};

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
    // The function takes what it only reads as something to be written.
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
  Owned<HashHandleKind> hash_;
  bool good_ = false;
};

FileHandle openToLook(const std::wstring& path, std::string_view& failure) {
  return openPath(path, FILE_READ_ATTRIBUTES, kShareAll,
                  FILE_FLAG_OPEN_NO_RECALL | FILE_FLAG_OPEN_REPARSE_POINT |
                      FILE_FLAG_BACKUP_SEMANTICS,
                  failure);
}

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

  std::optional<FileState> look(const std::wstring& path, std::string_view& failure) override {
    const FileHandle file = openToLook(path, failure);
    return file.valid() ? stateOf(file.get(), failure) : std::nullopt;
  }

  std::optional<FileIdentity> identity(const std::wstring& path) override {
    std::string_view failure;
    const FileHandle file = openToLook(path, failure);
    return file.valid() ? fileIdentity(file.get()) : std::nullopt;
  }

  std::unique_ptr<ContentFile> open(const std::wstring& path, Writers writers,
                                    std::string_view& failure) override {
    const DWORD share =
        writers == Writers::allowed ? kShareAll : kShareAll & ~static_cast<DWORD>(FILE_SHARE_WRITE);
    FileHandle file = openPath(path, GENERIC_READ, share,
                               FILE_FLAG_SEQUENTIAL_SCAN | FILE_FLAG_OPEN_NO_RECALL |
                                   FILE_FLAG_OPEN_REPARSE_POINT,
                               failure);
    if (!file.valid() || !stateOf(file.get(), failure)) return nullptr;
    return std::make_unique<SystemFile>(std::move(file));
  }

  std::unique_ptr<Hasher> hasher() override { return std::make_unique<SystemHasher>(sha256_); }

  // Lowers the thread's place for the processor, the disks and the memory that its reading
  // leaves in the cache.
  void stepBack() override { SetThreadPriority(GetCurrentThread(), THREAD_MODE_BACKGROUND_BEGIN); }

private:
  BCRYPT_ALG_HANDLE sha256_ = nullptr;
};

} // namespace

std::unique_ptr<FileContents> systemContents() { return std::make_unique<SystemContents>(); }

} // namespace vorda
