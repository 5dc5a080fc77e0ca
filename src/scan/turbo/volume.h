// Turbo's interface to a raw volume, so that it also runs on an in-memory image.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace vorda {

// Unbuffered reads require page-aligned memory.
using PageBuffer = std::unique_ptr<std::uint8_t[], void (*)(std::uint8_t*)>;

class Volume {
public:
  virtual ~Volume() = default;

  // Reads size bytes at a byte offset; out, size and offset are multiples of the sector size.
  // Returns the number of bytes read, 0 on failure. Not thread-safe.
  virtual std::size_t read(std::uint64_t offset, std::uint8_t* out, std::size_t size) = 0;

  // A read buffer; null if out of memory.
  virtual PageBuffer buffer(std::size_t size) = 0;
};

struct OpenedVolume {
  std::unique_ptr<Volume> volume; // null if it could not be opened
  std::string_view failure;       // then why: kMftDenied or kMftOpenFailed
};

using OpenVolume = std::function<OpenedVolume(wchar_t letter)>;

// Opens the volume of a drive letter.
OpenedVolume openVolume(wchar_t letter);

} // namespace vorda
