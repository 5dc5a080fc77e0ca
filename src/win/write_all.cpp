#include "win/write_all.h"

#include <algorithm>

namespace vorda {

namespace {

constexpr std::size_t kChunkBytes = 1'048'576;

} // namespace

DWORD writeAll(HANDLE file, std::string_view bytes) {
  while (!bytes.empty()) {
    const auto chunk = static_cast<DWORD>(std::min(bytes.size(), kChunkBytes));
    DWORD written = 0;
    if (WriteFile(file, bytes.data(), chunk, &written, nullptr) == FALSE) return GetLastError();
    if (written == 0) return ERROR_WRITE_FAULT;
    bytes.remove_prefix(written);
  }
  return ERROR_SUCCESS;
}

} // namespace vorda
