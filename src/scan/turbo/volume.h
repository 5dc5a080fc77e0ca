// A volume as bytes: the only way the reader of the master file table touches a disk, so
// that it can be run on an image in memory as well.
#pragma once

#include <cstddef>
#include <cstdint>
#include <functional>
#include <memory>
#include <string_view>

namespace vorda {

// The system reads volumes past its cache only into memory that begins at a page.
using PageBuffer = std::unique_ptr<std::uint8_t[], void (*)(std::uint8_t*)>;

class Volume {
public:
  virtual ~Volume() = default;

  // Reads size bytes from a byte offset into out. All three are multiples of the volume's
  // sector size. Returns how many bytes were read; 0 when reading failed. Not to be called
  // by two threads at once.
  virtual std::size_t read(std::uint64_t offset, std::uint8_t* out, std::size_t size) = 0;

  // A buffer to read into; null when there is no memory for it.
  virtual PageBuffer buffer(std::size_t size) = 0;
};

struct OpenedVolume {
  std::unique_ptr<Volume> volume; // null when it could not be opened
  std::string_view failure;       // and why: kMftDenied or kMftOpenFailed
};

using OpenVolume = std::function<OpenedVolume(wchar_t letter)>;

// The system's volume of a drive letter.
OpenedVolume openVolume(wchar_t letter);

} // namespace vorda
