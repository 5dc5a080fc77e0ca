// Access to file contents, as an interface so that its users can be tested without Windows.
// Functions that fail report missing, cloud, link or unreadable.
#pragma once

#include "base/file_identity.h"
#include "search/file_failure.h"

#include <array>
#include <cstddef>
#include <cstdint>
#include <memory>
#include <optional>
#include <span>
#include <string>

namespace vorda {

// What is known about a file without opening it. All names of one file have the same state, but
// so may different files.
struct FileState {
  std::uint64_t size = 0; // bytes
  // FILETIME units; 0 if the file system does not store the time.
  std::uint64_t created = 0;
  std::uint64_t lastWrite = 0;

  bool operator==(const FileState&) const = default;
};

// What is known about an open file.
struct OpenState {
  FileState file;
  std::uint64_t changed = 0; // FILETIME units; of the contents, attributes or name

  bool operator==(const OpenState&) const = default;
};

using Digest = std::array<std::uint8_t, 32>;

// Computes one SHA-256 digest.
class Hasher {
public:
  virtual ~Hasher() = default;
  virtual void add(std::span<const std::byte> bytes) = 0;
  // Nothing if any call failed.
  virtual std::optional<Digest> finish() = 0;
};

// A file that is open for reading.
class ContentFile {
public:
  virtual ~ContentFile() = default;
  // The current state; nothing if the file was deleted or on failure.
  virtual std::optional<OpenState> state() = 0;
  // The number of bytes read, less than requested only at the end of the file; nothing on
  // failure.
  virtual std::optional<std::size_t> read(std::uint64_t offset, std::span<std::byte> into) = 0;
};

// Whether other programs may write to the file while it is open.
enum class Writers {
  allowed,
  refused,
  refusedAsDeleters, // and others may not rename or delete it either
};

// Thread-safe.
class FileContents {
public:
  virtual ~FileContents() = default;
  // Does not open the file, so nothing is downloaded and locked files are no problem.
  virtual std::optional<FileState> look(const std::wstring& path, FileFailure& failure) = 0;
  // Nothing if it is unknown. Can take much longer than look.
  virtual std::optional<FileIdentity> identity(const std::wstring& path) = 0;
  // Null on failure. With writers refused, a file that is open for writing is unreadable.
  virtual std::unique_ptr<ContentFile> open(const std::wstring& path, Writers writers,
                                            FileFailure& failure) = 0;
  virtual std::unique_ptr<Hasher> hasher() = 0;
  // Lowers the priority of the calling thread for good.
  virtual void lowerPriority() = 0;
};

// The files of this system.
std::unique_ptr<FileContents> systemContents();

} // namespace vorda
