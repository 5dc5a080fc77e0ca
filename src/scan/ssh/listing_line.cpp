#include "scan/ssh/listing_line.h"

#include <algorithm>
#include <array>
#include <charconv>

namespace vorda {

namespace {

constexpr std::size_t kShortestListingLine = 7; // "f\t0\t0\t/"
constexpr std::size_t kMaxSecondDigits = 14; // three million years; in milliseconds below 64 bits
constexpr std::size_t kMaxBlockDigits = 18;
constexpr std::uint64_t kMostBlocks = UINT64_MAX >> 10;

bool isDigit(char c) { return c >= '0' && c <= '9'; }

// A number of more than 64 bits becomes the largest one.
std::optional<std::uint64_t> wholeNumber(std::string_view text) {
  // For unsigned numbers, from_chars accepts neither signs nor spaces.
  std::uint64_t value = 0;
  const char* end = text.data() + text.size();
  const auto parsed = std::from_chars(text.data(), end, value);
  if (parsed.ptr != end) return std::nullopt;
  if (parsed.ec == std::errc::result_out_of_range) return UINT64_MAX;
  if (parsed.ec != std::errc()) return std::nullopt;
  return value;
}

// Splits the text before the next tab off rest; false without a tab.
bool takeField(std::string_view& rest, std::string_view& field) {
  const std::size_t tab = rest.find('\t');
  if (tab == std::string_view::npos) return false;
  field = rest.substr(0, tab);
  rest.remove_prefix(tab + 1);
  return true;
}

std::uint64_t milliseconds(std::string_view text) {
  // Some locales use a decimal comma.
  const std::size_t mark = std::min(text.find_first_of(".,"), text.size());
  const auto seconds = mark > kMaxSecondDigits ? std::nullopt : wholeNumber(text.substr(0, mark));
  if (!seconds) return 0;
  std::uint64_t fraction = 0;
  std::uint64_t unit = 100;
  for (std::size_t i = mark + 1; i < text.size(); ++i) {
    if (!isDigit(text[i])) return 0;
    fraction += static_cast<std::uint64_t>(text[i] - '0') * unit;
    unit /= 10;
  }
  return *seconds * 1000 + fraction;
}

} // namespace

std::optional<ListingLine> parseListingLine(std::string_view line) {
  if (line.size() < kShortestListingLine) return std::nullopt;
  std::string_view type;
  std::string_view size;
  std::string_view time;
  if (!takeField(line, type) || !takeField(line, size) || !takeField(line, time)) {
    return std::nullopt;
  }
  const auto bytes = wholeNumber(size);
  if ((type != "d" && type != "f") || !bytes || !line.starts_with('/')) return std::nullopt;
  return ListingLine{type == "d", *bytes, milliseconds(time), line};
}

std::optional<DriveFigures> parseFileSystemLine(std::string_view line) {
  constexpr std::string_view kSpaces = " \t\r";
  std::array<std::uint64_t, 3> blocks{};
  for (std::size_t field = 0; field <= blocks.size(); ++field) {
    line.remove_prefix(std::min(line.find_first_not_of(kSpaces), line.size()));
    const std::string_view text = line.substr(0, line.find_first_of(kSpaces));
    line.remove_prefix(text.size());
    if (field == 0) continue; // without one there are no others either
    const auto number = text.size() > kMaxBlockDigits ? std::nullopt : wholeNumber(text);
    if (!number || *number > kMostBlocks) return std::nullopt;
    blocks[field - 1] = *number;
  }
  DriveFigures figures;
  figures.totalBytes = blocks[0] << 10;
  figures.freeBytes = blocks[2] << 10;
  return figures;
}

} // namespace vorda
