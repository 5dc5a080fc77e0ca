// Conversion between UTF-16 (in memory) and UTF-8 (on the wire and in files), and the
// ordinal comparison of Windows names.
//
// A wstring holds one UTF-16 code unit per element on every platform, even where wchar_t is
// wider. File names may contain lone surrogates: they are kept in memory and become U+FFFD
// in output.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

// UTF-16 to UTF-8. A lone surrogate becomes U+FFFD, so the result is always well-formed.
std::string toUtf8(std::wstring_view text);
void appendUtf8(std::string& out, std::wstring_view text);

// UTF-8 to UTF-16. Each byte that is not part of a well-formed sequence (overlong,
// surrogate, above U+10FFFF, truncated) becomes one U+FFFD.
std::wstring toUtf16(std::string_view text);
void appendUtf16(std::wstring& out, std::string_view text);

constexpr bool isHighSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isLowSurrogate(wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Case mapping of one UTF-16 unit, as in CompareStringOrdinal and CharLowerBuff:
// independent of locale, surrogates unchanged.
wchar_t upperUnit(wchar_t unit);
wchar_t lowerUnit(wchar_t unit);
std::wstring lowerCase(std::wstring_view text);

// Lower-cases A to Z and leaves all other bytes alone.
std::string lowerAscii(std::string_view text);

// Ordinal comparison ignoring case: negative, zero or positive. Compares upper-cased units,
// so texts of different lengths are never equal.
int compareIgnoreCase(std::wstring_view a, std::wstring_view b);
bool equalsIgnoreCase(std::wstring_view a, std::wstring_view b);
bool startsWithIgnoreCase(std::wstring_view text, std::wstring_view prefix);
bool endsWithIgnoreCase(std::wstring_view text, std::wstring_view suffix);

} // namespace vorda
