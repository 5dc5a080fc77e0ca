// What the system says of one file when it is asked, without opening its contents.
#pragma once

#include "scan/reparse_tag.h"

#include <cstdint>
#include <functional>
#include <optional>
#include <string>
#include <vector>

namespace vorda {

struct FileStream {
  std::wstring name;
  std::uint64_t size = 0; // bytes
};

// Times: milliseconds since 1970 (UTC); 0: unknown.
struct FileDetails {
  bool found = false;
  std::uint64_t size = 0;              // bytes
  std::optional<std::uint64_t> disk{}; // bytes allocated
  std::uint64_t modified = 0;
  std::uint64_t created = 0;
  std::uint64_t accessed = 0;
  std::optional<std::uint32_t> links{};             // how many names it has
  std::vector<std::wstring> names{};                // full paths; empty: unknown
  std::optional<std::vector<FileStream>> streams{}; // without the unnamed one
  std::uint32_t attributes = 0;
  std::uint32_t tag = kNoReparseTag;
  bool systemCompressed = false;
};

using FileDetailsSource = std::function<FileDetails(const std::wstring& path)>;

// The system this process runs on.
FileDetails fileDetails(const std::wstring& path);

} // namespace vorda
