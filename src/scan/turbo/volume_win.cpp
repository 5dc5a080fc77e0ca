#include "scan/turbo/volume.h"

#include "scan/words.h"
#include "win/raw_volume.h"

#include <cassert>

namespace vorda {

namespace {

constexpr std::size_t kSmallestSector = 256;

void freePages(std::uint8_t* pages) { VirtualFree(pages, 0, MEM_RELEASE); }

class SystemVolume final : public Volume {
public:
  explicit SystemVolume(FileHandle handle) : handle_(std::move(handle)) {}

  std::size_t read(std::uint64_t offset, std::uint8_t* out, std::size_t size) override {
    assert(offset % kSmallestSector == 0 && size % kSmallestSector == 0);
    assert(reinterpret_cast<std::uintptr_t>(out) % kSmallestSector == 0);
    LARGE_INTEGER position{};
    position.QuadPart = static_cast<LONGLONG>(offset);
    DWORD count = 0;
    if (SetFilePointerEx(handle_.get(), position, nullptr, FILE_BEGIN) == FALSE ||
        ReadFile(handle_.get(), out, static_cast<DWORD>(size), &count, nullptr) == FALSE) {
      return 0;
    }
    return count;
  }

  PageBuffer buffer(std::size_t size) override {
    void* pages = VirtualAlloc(nullptr, size, MEM_RESERVE | MEM_COMMIT, PAGE_READWRITE);
    return {static_cast<std::uint8_t*>(pages), freePages};
  }

private:
  FileHandle handle_;
};

} // namespace

OpenedVolume openVolume(wchar_t letter) {
  FileHandle handle = openRawVolume(letter);
  if (!handle.valid()) {
    return {nullptr, GetLastError() == ERROR_ACCESS_DENIED ? kMftDenied : kMftOpenFailed};
  }
  return {std::make_unique<SystemVolume>(std::move(handle)), {}};
}

} // namespace vorda
