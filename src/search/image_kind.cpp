#include "search/image_kind.h"

#include <algorithm>
#include <array>
#include <cstdint>

namespace vorda {

namespace {

using namespace std::string_view_literals;

constexpr std::array<std::uint8_t, 7> kHeaderSizes = {12, 40, 52, 56, 64, 108, 124};

// "BM" alone may begin a text, so its second header must have one of the known sizes as well.
bool isBitmap(std::string_view head) {
  return head.size() >= 18 && head.starts_with("BM"sv) && head.substr(15, 3) == "\0\0\0"sv &&
         std::find(kHeaderSizes.begin(), kHeaderSizes.end(), static_cast<std::uint8_t>(head[14])) !=
             kHeaderSizes.end();
}

} // namespace

std::string_view imageKindOf(std::string_view head) {
  if (head.starts_with("\x89PNG\r\n\x1a\n"sv)) return "image/png";
  if (head.starts_with("\xff\xd8\xff"sv)) return "image/jpeg";
  if (head.starts_with("GIF87a"sv) || head.starts_with("GIF89a"sv)) return "image/gif";
  if (head.starts_with("RIFF"sv) && head.size() >= 12 && head.substr(8, 4) == "WEBP"sv) {
    return "image/webp";
  }
  return isBitmap(head) ? "image/bmp" : std::string_view();
}

} // namespace vorda
