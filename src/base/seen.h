// What a client was shown of a file or folder that it may want to delete, as a text that it sends
// back unread. Whoever deletes compares it with what is there by then.
#pragma once

#include "base/file_identity.h"

#include <array>
#include <cstdint>
#include <optional>
#include <string>
#include <string_view>

namespace vorda {

enum class SeenKind : std::uint8_t { file, folder, link };

// The SHA-256 of a file's contents, and when they were read.
struct SeenContents {
  std::array<std::uint8_t, 32> digest{};
  std::uint64_t readAtMs = 0; // since 1970

  bool operator==(const SeenContents&) const = default;
};

struct Seen {
  SeenKind kind = SeenKind::file;
  std::uint64_t bytes = 0; // of the file, or of everything in the folder
  // The time of the last change of a file or link, as FILETIME; for a folder, a number that
  // depends on the names, sizes and times of everything in it.
  std::uint64_t mark = 0;
  std::optional<FileIdentity> identity;
  std::optional<SeenContents> contents;

  bool operator==(const Seen&) const = default;
};

// The text contains the path in a digested form, so that it fits no other path.
std::string seenText(const Seen& seen, std::wstring_view path);

// Nothing if the text is malformed or was made for another path.
std::optional<Seen> parseSeen(std::string_view text, std::wstring_view path);

// A number in which each bit depends on all bits of both. Not for secrets.
std::uint64_t mixed(std::uint64_t a, std::uint64_t b);
std::uint64_t mixed(std::uint64_t a, std::wstring_view text);

} // namespace vorda
