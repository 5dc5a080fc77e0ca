#include "scan/volume_win.h"

#include "scan/volume.h"

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

FileHandle openRawVolume(wchar_t letter) {
  const wchar_t name[] = {L'\\', L'\\', L'.', L'\\', letter, L':', 0};
  return FileHandle(CreateFileW(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_NO_BUFFERING | FILE_FLAG_SEQUENTIAL_SCAN,
                                nullptr));
}

OpenedVolume openVolume(wchar_t letter) {
  FileHandle handle = openRawVolume(letter);
  if (!handle.valid()) {
    return {nullptr, GetLastError() == ERROR_ACCESS_DENIED ? "mftDenied" : "mftOpenFailed"};
  }
  return {std::make_unique<SystemVolume>(std::move(handle)), {}};
}

} // namespace vorda
