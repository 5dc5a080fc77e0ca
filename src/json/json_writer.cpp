#include "json/json_writer.h"

#include "base/text.h"

#include <charconv>
#include <cstdio>

namespace vorda {

namespace {

void appendEscaped(std::string& out, std::string_view text) {
  out.push_back('"');
  std::size_t plainFrom = 0;
  for (std::size_t i = 0; i < text.size(); ++i) {
    const auto byte = static_cast<unsigned char>(text[i]);
    if (byte >= 0x20 && byte != '"' && byte != '\\') continue;
    out.append(text, plainFrom, i - plainFrom);
    plainFrom = i + 1;
    switch (byte) {
    case '\t': out.append("\\t"); break;
    case '\n': out.append("\\n"); break;
    case '\r': out.append("\\r"); break;
    case '"': out.append("\\\""); break;
    case '\\': out.append("\\\\"); break;
    default: {
      char escape[8];
      std::snprintf(escape, sizeof escape, "\\u%04x", static_cast<unsigned>(byte));
      out.append(escape);
    }
    }
  }
  out.append(text, plainFrom);
  out.push_back('"');
}

} // namespace

void JsonWriter::comma() {
  if (noComma_) {
    noComma_ = false;
    return;
  }
  if (out_.empty()) return;
  const char last = out_.back();
  if (last != '{' && last != ',' && last != ':' && last != '[') out_.push_back(',');
}

void JsonWriter::open(char bracket) {
  comma();
  out_.push_back(bracket);
  noComma_ = true;
}

void JsonWriter::close(char bracket) {
  out_.push_back(bracket);
  noComma_ = false;
}

void JsonWriter::key(std::string_view name) {
  comma();
  out_.push_back('"');
  out_.append(name);
  out_.append("\":");
  noComma_ = true;
}

void JsonWriter::string(std::string_view text) {
  comma();
  appendEscaped(out_, text);
}

void JsonWriter::string(std::wstring_view text) { string(std::string_view(toUtf8(text))); }

void JsonWriter::number(std::uint64_t value) {
  comma();
  char digits[24];
  const auto end = std::to_chars(digits, digits + sizeof digits, value).ptr;
  out_.append(digits, end);
}

void JsonWriter::boolean(bool value) {
  comma();
  out_.append(value ? "true" : "false");
}

void JsonWriter::null() {
  comma();
  out_.append("null");
}

void JsonWriter::open(std::string_view name, char bracket) {
  key(name);
  open(bracket);
}

void JsonWriter::string(std::string_view name, std::string_view text) {
  key(name);
  string(text);
}

void JsonWriter::string(std::string_view name, std::wstring_view text) {
  key(name);
  string(text);
}

void JsonWriter::number(std::string_view name, std::uint64_t value) {
  key(name);
  number(value);
}

void JsonWriter::boolean(std::string_view name, bool value) {
  key(name);
  boolean(value);
}

void JsonWriter::seconds(double value) {
  key("seconds");
  comma();
  char digits[32];
  std::snprintf(digits, sizeof digits, "%.4g", value);
  out_.append(digits);
}

void JsonWriter::raw(std::string_view fragment) {
  out_.append(fragment);
  noComma_ = false;
}

void JsonWriter::signedNumber(std::string_view name, std::int64_t value) {
  key(name);
  comma();
  out_ += std::to_string(value);
}

} // namespace vorda
