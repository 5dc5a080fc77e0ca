// Text: UTF-16 inside, UTF-8 outside, and the ordinal comparisons of Windows names.
//
// A wstring holds one UTF-16 code unit per element on every platform, also where
// wchar_t is wider. Names come from file systems and may hold lone surrogates: they
// are carried along unchanged inside the program and leave it as U+FFFD.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

// UTF-8 of a UTF-16 text. A lone surrogate becomes U+FFFD, so the result is always
// well-formed.
std::string toUtf8(std::wstring_view text);
void appendUtf8(std::string& out, std::wstring_view text);

// UTF-16 of a UTF-8 text. Every byte that is not part of a well-formed sequence
// (overlong, surrogate, beyond U+10FFFF, cut short) becomes one U+FFFD.
std::wstring toUtf16(std::string_view text);
void appendUtf16(std::wstring& out, std::string_view text);

constexpr bool isHighSurrogate(wchar_t unit) { return unit >= 0xD800 && unit <= 0xDBFF; }
constexpr bool isLowSurrogate(wchar_t unit) { return unit >= 0xDC00 && unit <= 0xDFFF; }

// Case mapping of one UTF-16 unit as the system's ordinal comparison and its
// CharLowerBuff do it: unit by unit, no locale, surrogates unchanged.
wchar_t upperUnit(wchar_t unit);
wchar_t lowerUnit(wchar_t unit);
std::wstring lowerCase(std::wstring_view text);

// UTF-8 or other bytes with the letters A to Z in lower case, everything else as it is.
std::string lowerAscii(std::string_view text);

// Ordinal comparison ignoring case: negative, zero or positive. Units are compared
// upper-cased, so texts of different lengths never compare equal.
int compareIgnoreCase(std::wstring_view a, std::wstring_view b);
bool equalsIgnoreCase(std::wstring_view a, std::wstring_view b);
bool startsWithIgnoreCase(std::wstring_view text, std::wstring_view prefix);
bool endsWithIgnoreCase(std::wstring_view text, std::wstring_view suffix);

} // namespace vorda
