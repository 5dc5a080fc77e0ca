#include "http/form_fields.h"

#include "base/secret.h"

#include <algorithm>

namespace vorda {

namespace {

std::optional<unsigned> hexDigit(char c) {
  if (c >= '0' && c <= '9') return static_cast<unsigned>(c - '0');
  if (c >= 'a' && c <= 'f') return static_cast<unsigned>(c - 'a' + 10);
  if (c >= 'A' && c <= 'F') return static_cast<unsigned>(c - 'A' + 10);
  return std::nullopt;
}

// Takes the first encoded byte from the text and returns it decoded.
char takeByte(std::string_view& text) {
  const char first = text.front();
  if (first == '%' && text.size() > 2) {
    const auto high = hexDigit(text[1]);
    const auto low = hexDigit(text[2]);
    if (high && low) {
      text.remove_prefix(3);
      return static_cast<char>(*high * 16 + *low);
    }
  }
  text.remove_prefix(1);
  return first == '+' ? ' ' : first;
}

// Writes the decoded text to `out`, which may be where the text begins, and returns it.
std::string_view decodeTo(char* out, std::string_view text) {
  char* end = out;
  while (!text.empty()) *end++ = takeByte(text);
  return {out, static_cast<std::size_t>(end - out)};
}

bool decodesTo(std::string_view text, std::string_view wanted) {
  for (const char c : wanted) {
    if (text.empty() || takeByte(text) != c) return false;
  }
  return text.empty();
}

struct EncodedPair {
  std::string_view key;
  std::string_view value;
};

EncodedPair splitPair(std::string_view piece) {
  const std::size_t equals = piece.find('=');
  if (equals == std::string_view::npos) return {piece, piece.substr(piece.size())};
  return {piece.substr(0, equals), piece.substr(equals + 1)};
}

// Calls take(pair) for each pair, in order.
template <typename Take> void eachPair(std::string_view text, Take take) {
  while (true) {
    const std::size_t end = text.find('&');
    take(splitPair(text.substr(0, end)));
    if (end == std::string_view::npos) return;
    text.remove_prefix(end + 1);
  }
}

} // namespace

std::string decodeFormText(std::string_view text) {
  std::string out(text);
  out.resize(decodeTo(out.data(), out).size());
  return out;
}

std::size_t countFields(std::string_view text) {
  return 1 + static_cast<std::size_t>(std::count(text.begin(), text.end(), '&'));
}

std::optional<std::string> lastFieldValue(std::string_view text, std::string_view key) {
  std::optional<std::string_view> found;
  eachPair(text, [&](const EncodedPair& pair) {
    if (decodesTo(pair.key, key)) found = pair.value;
  });
  if (!found) return std::nullopt;
  return decodeFormText(*found);
}

FormFields::FormFields(std::string text) : text_(std::move(text)) {
  pairs_.reserve(countFields(text_));
  // A decoded text is never longer, so it does not reach what is still to be split.
  eachPair(text_, [this](const EncodedPair& pair) {
    char* const key = text_.data() + (pair.key.data() - text_.data());
    char* const value = text_.data() + (pair.value.data() - text_.data());
    pairs_.emplace_back(decodeTo(key, pair.key), decodeTo(value, pair.value));
  });
}

FormFields::~FormFields() { wipeText(text_); }

const std::string_view* FormFields::find(std::string_view key) const {
  for (const auto& [name, value] : pairs_) {
    if (name == key) return &value;
  }
  return nullptr;
}

std::string_view FormFields::get(std::string_view key) const {
  const std::string_view* value = find(key);
  return value == nullptr ? std::string_view() : *value;
}

bool FormFields::has(std::string_view key) const { return find(key) != nullptr; }

} // namespace vorda
