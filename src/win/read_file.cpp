#include "win/read_file.h"

#include "win/handles.h"

namespace vorda {

std::optional<std::string> readFile(const std::wstring& path, std::uint32_t maxBytes) {
  const FileHandle file(CreateFileW(path.c_str(), GENERIC_READ, FILE_SHARE_READ, nullptr,
                                    OPEN_EXISTING, FILE_ATTRIBUTE_NORMAL, nullptr));
  LARGE_INTEGER size{};
  if (!file.valid() || GetFileSizeEx(file.get(), &size) == FALSE || size.QuadPart > maxBytes) {
    return std::nullopt;
  }
  std::string bytes(static_cast<std::size_t>(size.QuadPart), '\0');
  DWORD count = 0;
  if (ReadFile(file.get(), bytes.data(), static_cast<DWORD>(bytes.size()), &count, nullptr) ==
      FALSE) {
    return std::nullopt;
  }
  bytes.resize(count);
  return bytes;
}

} // namespace vorda
