#include "base/seen.h"

#include "base/text.h"

#include <charconv>
#include <span>
#include <vector>

namespace vorda {

namespace {

// Fields separated by dots, numbers in hexadecimal: path, kind, bytes, mark; then "-" or volume
// and both numbers of the identity; then, for compared contents, time and digest.
constexpr char kSeparator = '.';
constexpr std::string_view kUnknown = "-";
constexpr std::string_view kKinds = "fdl"; // in the order of SeenKind
constexpr std::size_t kDigestDigits = 64;
constexpr std::size_t kMostFields = 10;

std::uint64_t pathKey(std::wstring_view path) {
  while (path.size() > 3 && (path.back() == L'\\' || path.back() == L'/')) path.remove_suffix(1);
  std::wstring spelled = lowerCase(path);
  for (wchar_t& unit : spelled) {
    if (unit == L'/') unit = L'\\';
  }
  return mixed(0, spelled);
}

void append(std::string& text, std::uint64_t number) {
  char digits[16];
  const auto end = std::to_chars(digits, digits + sizeof digits, number, 16);
  text.push_back(kSeparator);
  text.append(digits, end.ptr);
}

// At most 16 digits fit into the number.
std::optional<std::uint64_t> number(std::string_view digits) {
  std::uint64_t value = 0;
  const char* end = digits.data() + digits.size();
  const auto parsed = std::from_chars(digits.data(), end, value, 16);
  if (parsed.ec != std::errc() || parsed.ptr != end) return std::nullopt;
  return value;
}

std::optional<SeenContents> contentsOf(std::string_view time, std::string_view digest) {
  SeenContents contents;
  const auto at = number(time);
  if (!at || digest.size() != kDigestDigits) return std::nullopt;
  contents.readAtMs = *at;
  for (std::size_t i = 0; i < contents.digest.size(); ++i) {
    const auto byte = number(digest.substr(2 * i, 2));
    if (!byte) return std::nullopt;
    contents.digest[i] = static_cast<std::uint8_t>(*byte);
  }
  return contents;
}

std::vector<std::string_view> fieldsOf(std::string_view text) {
  std::vector<std::string_view> fields;
  while (fields.size() < kMostFields) {
    const std::size_t end = text.find(kSeparator);
    fields.push_back(text.substr(0, end));
    if (end == std::string_view::npos) return fields;
    text.remove_prefix(end + 1);
  }
  return {};
}

} // namespace

std::uint64_t mixed(std::uint64_t a, std::uint64_t b) {
  std::uint64_t x = a + 0x9E37'79B9'7F4A'7C15ULL;
  for (const std::uint64_t part : {b, a ^ (b << 1)}) {
    x ^= part;
    x = (x ^ (x >> 30)) * 0xBF58'476D'1CE4'E5B9ULL;
    x = (x ^ (x >> 27)) * 0x94D0'49BB'1331'11EBULL;
    x ^= x >> 31;
  }
  return x;
}

std::uint64_t mixed(std::uint64_t a, std::wstring_view text) {
  std::uint64_t x = mixed(a, text.size());
  for (const wchar_t unit : text) x = mixed(x, static_cast<std::uint64_t>(unit));
  return x;
}

std::string seenText(const Seen& seen, std::wstring_view path) {
  std::string text;
  append(text, pathKey(path));
  text.erase(0, 1);
  text.push_back(kSeparator);
  text.push_back(kKinds[static_cast<std::size_t>(seen.kind)]);
  append(text, seen.bytes);
  append(text, seen.mark);
  if (seen.identity) {
    append(text, seen.identity->volume);
    for (const std::uint64_t part : seen.identity->number) append(text, part);
  } else {
    text.append(1, kSeparator).append(kUnknown);
  }
  if (!seen.contents) return text;
  append(text, seen.contents->readAtMs);
  constexpr std::string_view kDigits = "0123456789abcdef";
  text.push_back(kSeparator);
  for (const std::uint8_t byte : seen.contents->digest) {
    text.push_back(kDigits[byte >> 4]);
    text.push_back(kDigits[byte & 15]);
  }
  return text;
}

std::optional<Seen> parseSeen(std::string_view text, std::wstring_view path) {
  const std::vector<std::string_view> fields = fieldsOf(text);
  if (fields.size() < 5 || number(fields[0]) != pathKey(path) || fields[1].size() != 1) return {};
  const std::size_t kind = kKinds.find(fields[1][0]);
  const auto bytes = number(fields[2]);
  const auto mark = number(fields[3]);
  if (kind == std::string_view::npos || !bytes || !mark) return {};
  Seen seen = {static_cast<SeenKind>(kind), *bytes, *mark, {}, {}};
  std::span rest(fields.begin() + 4, fields.end());
  if (rest[0] == kUnknown) {
    rest = rest.subspan(1);
  } else {
    if (rest.size() < 3) return {};
    const auto volume = number(rest[0]);
    const auto first = number(rest[1]);
    const auto second = number(rest[2]);
    if (!volume || !first || !second) return {};
    seen.identity = FileIdentity{*volume, {*first, *second}};
    rest = rest.subspan(3);
  }
  if (rest.empty()) return seen;
  if (rest.size() != 2) return {};
  seen.contents = contentsOf(rest[0], rest[1]);
  return seen.contents ? std::optional(seen) : std::nullopt;
}

} // namespace vorda
