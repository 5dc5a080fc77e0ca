// Streaming JSON writer: appends compact UTF-8 to a string; there is no document tree.
//
// Whether a comma is needed follows from the last byte written, not from a stack of open
// containers, so values after a raw() fragment are separated correctly. Keys are program
// constants and are not escaped.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>
#include <utility>

namespace vorda {

class JsonWriter {
public:
  void open(char bracket);  // '{' or '['
  void close(char bracket); // '}' or ']'
  void key(std::string_view name);

  // Bytes are escaped but not validated as UTF-8; UTF-16 is converted first.
  void string(std::string_view text);
  void string(std::wstring_view text);
  void number(std::uint64_t value);
  void boolean(bool value);
  void null();

  void open(std::string_view name, char bracket);
  void string(std::string_view name, std::string_view text);
  void string(std::string_view name, std::wstring_view text);
  void number(std::string_view name, std::uint64_t value);
  void signedNumber(std::string_view name, std::int64_t value);
  void boolean(std::string_view name, bool value);

  // The key "seconds" with a number of four significant digits.
  void seconds(double value);

  // Prepared JSON, appended unchanged and without a leading comma.
  void raw(std::string_view fragment);

  const std::string& text() const { return out_; }
  std::string take() { return std::move(out_); }

private:
  void comma();

  std::string out_;
  bool noComma_ = false; // just after an opening bracket or a key
};

} // namespace vorda
