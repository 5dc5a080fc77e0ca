// Form-encoded text: the body of a POST or the query of a target.
#pragma once

#include <cstddef>
#include <optional>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorda {

// Decodes "+" to a space and "%" with two hexadecimal digits to that byte; any other "%" is
// kept. The result is not necessarily valid UTF-8.
std::string decodeFormText(std::string_view text);

// How many pairs a text has: one more than it has "&".
std::size_t countFields(std::string_view text);

// The decoded value of the last pair with this key, found without decoding the others.
std::optional<std::string> lastFieldValue(std::string_view text, std::string_view key);

// An ordered list of decoded (key, value) pairs. They are decoded in place, so that a large body
// is held once; and since a value may be a password, the text is wiped on destruction.
class FormFields {
public:
  FormFields() = default;
  // Splits at every "&", then at the first "="; without "=" the piece is a key with an
  // empty value.
  explicit FormFields(std::string text);
  FormFields(const FormFields&) = delete;
  FormFields& operator=(const FormFields&) = delete;
  ~FormFields();

  // The value of the first pair with this key, or an empty text.
  std::string_view get(std::string_view key) const;

  bool has(std::string_view key) const;

  const std::vector<std::pair<std::string_view, std::string_view>>& pairs() const { return pairs_; }

private:
  const std::string_view* find(std::string_view key) const;

  std::string text_;
  std::vector<std::pair<std::string_view, std::string_view>> pairs_; // into text_
};

} // namespace vorda
