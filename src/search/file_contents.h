// What files hold, behind an interface, so that whoever compares them can be run on
// made-up files as well.
//
// Failure words: "missing", "cloud" (the content would have to be fetched first),
// "link" (a reparse point), "unreadable" (locked, forbidden, no file, or a failed read).
#pragma once

#include "base/file_identity.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>
#include <string_view>

namespace vorda {

// What the system tells of a file without opening it. Two names of one file have the same
// state; so may two files, by chance.
struct FileState {
  std::uint64_t size = 0; // bytes
  // FILETIME units; 0 where the file system keeps no such time.
  std::uint64_t created = 0;
  std::uint64_t lastWrite = 0;

  bool operator==(const FileState&) const = default;
};

// What it tells of an open one.
struct OpenState {
  FileState file;
  std::uint64_t changed = 0; // FILETIME units; of anything about it, also of its name

  bool operator==(const OpenState&) const = default;
};

using Digest = std::array<std::uint8_t, 32>;

// A SHA-256 under way; for one content.
class Hasher {
public:
  virtual ~Hasher() = default;
  virtual void add(std::span<const std::byte> bytes) = 0;
  // Nothing when the system failed at any step.
  virtual std::optional<Digest> finish() = 0;
};

// A file that is open for reading.
class ContentFile {
public:
  virtual ~ContentFile() = default;
  // Now. Nothing when it has lost its name, or the system does not tell.
  virtual std::optional<OpenState> state() = 0;
  // How many bytes were read, fewer than asked for only at the end of the file; nothing
  // when reading failed.
  virtual std::optional<std::size_t> read(std::uint64_t offset, std::span<std::byte> into) = 0;
};

// Whether others may write to a file while it is open here.
enum class Writers { allowed, refused };

// Shared between threads.
class FileContents {
public:
  virtual ~FileContents() = default;
  // Never opens the file, and so never fetches it from the cloud or waits for a lock.
  virtual std::optional<FileState> look(const std::wstring& path, std::string_view& failure) = 0;
  // Nothing when the file or its file system does not tell. Can take much longer than a look.
  virtual std::optional<FileIdentity> identity(const std::wstring& path) = 0;
  // With writers refused, a file that somebody has open for writing is "unreadable". Null
  // with the failure word.
  virtual std::unique_ptr<ContentFile> open(const std::wstring& path, Writers writers,
                                            std::string_view& failure) = 0;
  virtual std::unique_ptr<Hasher> hasher() = 0;
  // From now on the calling thread steps back behind whatever else the machine does.
  virtual void stepBack() = 0;
};

// The system's own files.
std::unique_ptr<FileContents> systemContents();

} // namespace vorda
