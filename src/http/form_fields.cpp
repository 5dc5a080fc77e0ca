#include "http/form_fields.h"

#include "base/secret.h"

#include <algorithm>
#include <optional>

namespace vorda {

namespace {

std::optional<unsigned> hexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
  return std::nullopt;
}

// Decodes with a single allocation, so that no copy of a password is left behind.
void decodeInto(std::string& out, std::string_view text) {
  out.reserve(text.size());
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] == '+') {
      out.push_back(' ');
      continue;
    }
    if (text[i] == '%' && text.size() - i > 2) {
      const auto high = hexDigit(text[i + 1]);
      const auto low = hexDigit(text[i + 2]);
      if (high && low) {
        out.push_back(static_cast<char>(*high * 16 + *low));
        i += 2;
        continue;
      }
    }
    out.push_back(text[i]);
  }
}

} // namespace

std::string decodeFormText(std::string_view text) {
  std::string out;
  decodeInto(out, text);
  return out;
}

FormFields::FormFields(std::string_view body) {
  pairs_.reserve(1 + static_cast<std::size_t>(std::count(body.begin(), body.end(), '&')));
  while (true) {
    const std::size_t end = body.find('&');
    const std::string_view piece = body.substr(0, end);
    const std::size_t equals = piece.find('=');
    const std::string_view value =
        equals == std::string_view::npos ? std::string_view() : piece.substr(equals + 1);
    auto& pair = pairs_.emplace_back();
    decodeInto(pair.first, piece.substr(0, equals));
    decodeInto(pair.second, value);
    if (end == std::string_view::npos) break;
    body.remove_prefix(end + 1);
  }
}

FormFields::~FormFields() {
  for (auto& pair : pairs_) wipeText(pair.second);
}

const std::string* FormFields::find(std::string_view key) const {
  for (const auto& [name, value] : pairs_) {
    if (name == key) return &value;
  }
  return nullptr;
}

std::string_view FormFields::get(std::string_view key) const {
  const std::string* value = find(key);
  return value == nullptr ? std::string_view() : std::string_view(*value);
}

bool FormFields::has(std::string_view key) const { return find(key) != nullptr; }

} // namespace vorda
