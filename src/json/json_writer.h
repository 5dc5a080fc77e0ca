// Streaming JSON writer: appends UTF-8 to a byte string, no document tree, no blanks.
//
// Whether a comma is due is read off the last byte written, never off a stack of open
// containers; so a prepared fragment put in with raw() is followed by a comma like any
// other value. Keys are constants of the program and are not escaped.
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

  // Bytes that are not UTF-8 pass through; a UTF-16 text is converted first.
  void string(std::string_view text);
  void string(std::wstring_view text);
  void number(std::uint64_t value);
  void boolean(bool value);
  void null();

  void open(std::string_view name, char bracket);
  void string(std::string_view name, std::string_view text);
  void string(std::string_view name, std::wstring_view text);
  void number(std::string_view name, std::uint64_t value);
  void boolean(std::string_view name, bool value);

  // The key "seconds" and a number with four significant digits.
  void seconds(double value);

  // A prepared fragment, as it stands and without a comma before it.
  void raw(std::string_view fragment);

  const std::string& text() const { return out_; }
  std::string take() { return std::move(out_); }

private:
  void comma();

  std::string out_;
  bool noComma_ = false; // just behind an opening bracket or a key
};

} // namespace vorda
