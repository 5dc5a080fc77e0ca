// What the tag of a reparse point says about the file it is on.
#pragma once

#include <cstdint>

namespace vorda {

inline constexpr std::uint32_t kNoReparseTag = 0;

// A link, junction or mount point: it names another place and has no contents of its own.
constexpr bool isNameSurrogate(std::uint32_t tag) { return (tag & 0x2000'0000U) != 0; }

// A placeholder of a sync provider. Providers have 16 tags of their own, counted in the third digit.
constexpr bool isCloudTag(std::uint32_t tag) {
  constexpr std::uint32_t kOneDriveOld = 0x8000'0021;
  constexpr std::uint32_t kPlaceholderOld = 0x8000'0015;
  return (tag & 0xFFFF'0FFFU) == 0x9000'001AU || tag == kOneDriveOld || tag == kPlaceholderOld;
}

// The contents are compressed by the system, in a stream called kCompressedStream.
constexpr bool isSystemCompressed(std::uint32_t tag) { return tag == 0x8000'0017U; }

// File attributes that matter for where the contents are.
inline constexpr std::uint32_t kAttributeSparse = 0x200;
inline constexpr std::uint32_t kAttributeReparse = 0x400;
inline constexpr std::uint32_t kAttributeCompressed = 0x800;
inline constexpr std::uint32_t kAttributeOffline = 0x1000;
inline constexpr std::uint32_t kAttributeRecallOnOpen = 0x4'0000;
inline constexpr std::uint32_t kAttributeRecallOnDataAccess = 0x40'0000;

// Whether contents that are not on the disk lie in the cloud. Windows shows many programs no
// tag of a placeholder, but always the attribute.
constexpr bool isCloudFile(std::uint32_t attributes, std::uint32_t tag) {
  const bool link = tag != kNoReparseTag && isNameSurrogate(tag);
  return !link && (isCloudTag(tag) || (attributes & kAttributeRecallOnDataAccess) != 0);
}

} // namespace vorda
