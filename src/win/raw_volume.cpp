#include "win/raw_volume.h"

namespace vorda {

FileHandle openRawVolume(wchar_t letter) {
  const wchar_t name[] = {L'\\', L'\\', L'.', L'\\', letter, L':', 0};
  return FileHandle(CreateFileW(name, GENERIC_READ, FILE_SHARE_READ | FILE_SHARE_WRITE, nullptr,
                                OPEN_EXISTING, FILE_FLAG_NO_BUFFERING | FILE_FLAG_SEQUENTIAL_SCAN,
                                nullptr));
}

} // namespace vorda
