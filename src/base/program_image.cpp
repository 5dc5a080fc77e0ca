#include "base/program_image.h"

namespace vorda {

namespace {

constexpr std::size_t kPlaceOfHeader = 0x3C;
constexpr std::uint32_t kSignature = 0x00004550; // "PE", two zeros
constexpr std::size_t kOptionalHeader = 24;
constexpr std::uint16_t k64Bit = 0x020B;
constexpr std::size_t kCountOfDirectories = 108;
constexpr std::size_t kSecurityDirectory = 112 + 4 * 8;

} // namespace

bool carriesSignature(ByteView head) {
  if (head.u16(0) != 0x5A4D) return false; // "MZ"
  const ByteView header = head.from(head.u32(kPlaceOfHeader));
  if (header.u32(0) != kSignature) return false;
  const ByteView optional = header.from(kOptionalHeader);
  if (optional.u16(0) != k64Bit || optional.u32(kCountOfDirectories) < 5) return false;
  return optional.u32(kSecurityDirectory) != 0 && optional.u32(kSecurityDirectory + 4) != 0;
}

} // namespace vorda
