#include "base/text.h"

#include "base/case_tables.h"

#include <algorithm>
#include <cstdint>

namespace vorda {

namespace {

constexpr wchar_t kReplacement = 0xFFFD;

void appendCodePoint(std::string& out, std::uint32_t c) {
  const auto put = [&out](std::uint32_t byte) { out.push_back(static_cast<char>(byte)); };
  if (c < 0x80) {
    put(c);
  } else if (c < 0x800) {
    put(0xC0 | (c >> 6));
    put(0x80 | (c & 0x3F));
  } else if (c < 0x10000) {
    put(0xE0 | (c >> 12));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  } else {
    put(0xF0 | (c >> 18));
    put(0x80 | ((c >> 12) & 0x3F));
    put(0x80 | ((c >> 6) & 0x3F));
    put(0x80 | (c & 0x3F));
  }
}

// The UTF-8 sequence at the front of a text; length 0 when it is not well-formed.
struct Decoded {
  std::size_t length;
  std::uint32_t codePoint;
};

Decoded decodeFront(std::string_view text) {
  const auto byteAt = [&text](std::size_t i) { return static_cast<unsigned char>(text[i]); };
  const std::uint32_t lead = byteAt(0);
  if (lead < 0x80) return {1, lead};
  std::size_t length = 0;
  std::uint32_t least = 0;
  std::uint32_t c = 0;
  if ((lead & 0xE0) == 0xC0) {
    length = 2;
    least = 0x80;
    c = lead & 0x1F;
  } else if ((lead & 0xF0) == 0xE0) {
    length = 3;
    least = 0x800;
    c = lead & 0x0F;
  } else if ((lead & 0xF8) == 0xF0) {
    length = 4;
    least = 0x10000;
    c = lead & 0x07;
  } else {
    return {0, 0};
  }
  if (text.size() < length) return {0, 0};
  for (std::size_t i = 1; i < length; ++i) {
    if ((byteAt(i) & 0xC0) != 0x80) return {0, 0};
    c = (c << 6) | (byteAt(i) & 0x3FU);
  }
  const bool surrogate = c >= 0xD800 && c <= 0xDFFF;
  if (c < least || c > 0x10FFFF || surrogate) return {0, 0};
  return {length, c};
}

} // namespace

void appendUtf8(std::string& out, std::wstring_view text) {
  for (std::size_t i = 0; i < text.size(); ++i) {
    const wchar_t unit = text[i];
    if (isHighSurrogate(unit) && i + 1 < text.size() && isLowSurrogate(text[i + 1])) {
      const std::uint32_t high = static_cast<std::uint32_t>(unit) - 0xD800U;
      const std::uint32_t low = static_cast<std::uint32_t>(text[i + 1]) - 0xDC00U;
      appendCodePoint(out, 0x10000U + (high << 10) + low);
      ++i;
    } else if (isHighSurrogate(unit) || isLowSurrogate(unit)) {
      appendCodePoint(out, kReplacement);
    } else {
      appendCodePoint(out, static_cast<std::uint32_t>(unit));
    }
  }
}

std::string toUtf8(std::wstring_view text) {
  std::string out;
  out.reserve(text.size());
  appendUtf8(out, text);
  return out;
}

void appendUtf16(std::wstring& out, std::string_view text) {
  while (!text.empty()) {
    const Decoded decoded = decodeFront(text);
    if (decoded.length == 0) {
      out.push_back(kReplacement);
      text.remove_prefix(1);
      continue;
    }
    if (decoded.codePoint >= 0x10000) {
      const std::uint32_t rest = decoded.codePoint - 0x10000U;
      out.push_back(static_cast<wchar_t>(0xD800U + (rest >> 10)));
      out.push_back(static_cast<wchar_t>(0xDC00U + (rest & 0x3FFU)));
    } else {
      out.push_back(static_cast<wchar_t>(decoded.codePoint));
    }
    text.remove_prefix(decoded.length);
  }
}

std::wstring toUtf16(std::string_view text) {
  std::wstring out;
  out.reserve(text.size());
  appendUtf16(out, text);
  return out;
}

wchar_t upperUnit(wchar_t unit) {
  if (unit < 0x80) {
    return unit >= L'a' && unit <= L'z' ? static_cast<wchar_t>(unit - (L'a' - L'A')) : unit;
  }
  return caseTables().upper[static_cast<std::size_t>(unit) & 0xFFFFU];
}

wchar_t lowerUnit(wchar_t unit) {
  if (unit < 0x80) {
    return unit >= L'A' && unit <= L'Z' ? static_cast<wchar_t>(unit + (L'a' - L'A')) : unit;
  }
  return caseTables().lower[static_cast<std::size_t>(unit) & 0xFFFFU];
}

std::wstring lowerCase(std::wstring_view text) {
  std::wstring out(text);
  std::transform(out.begin(), out.end(), out.begin(), lowerUnit);
  return out;
}

std::string lowerAscii(std::string_view text) {
  std::string out(text);
  std::transform(out.begin(), out.end(), out.begin(), [](char c) {
    return c >= 'A' && c <= 'Z' ? static_cast<char>(c - 'A' + 'a') : c;
  });
  return out;
}

int compareIgnoreCase(std::wstring_view a, std::wstring_view b) {
  const std::size_t shared = std::min(a.size(), b.size());
  for (std::size_t i = 0; i < shared; ++i) {
    if (a[i] == b[i]) continue;
    const wchar_t left = upperUnit(a[i]);
    const wchar_t right = upperUnit(b[i]);
    if (left != right) return left < right ? -1 : 1;
  }
  if (a.size() == b.size()) return 0;
  return a.size() < b.size() ? -1 : 1;
}

bool equalsIgnoreCase(std::wstring_view a, std::wstring_view b) {
  return a.size() == b.size() && compareIgnoreCase(a, b) == 0;
}

bool startsWithIgnoreCase(std::wstring_view text, std::wstring_view prefix) {
  return text.size() >= prefix.size() && equalsIgnoreCase(text.substr(0, prefix.size()), prefix);
}

bool endsWithIgnoreCase(std::wstring_view text, std::wstring_view suffix) {
  return text.size() >= suffix.size() &&
         equalsIgnoreCase(text.substr(text.size() - suffix.size()), suffix);
}

} // namespace vorda
