// The form-encoded body of a POST: an ordered list of decoded (key, value) pairs. A value may
// be a password, so values are never reallocated while decoding and are wiped on destruction.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorda {

// Decodes "+" to a space and "%" with two hexadecimal digits to that byte; any other "%" is
// kept. The result is not necessarily valid UTF-8.
std::string decodeFormText(std::string_view text);

class FormFields {
public:
  FormFields() = default;
  // Splits at every "&", then at the first "="; without "=" the piece is a key with an
  // empty value.
  explicit FormFields(std::string_view body);
  FormFields(const FormFields&) = delete;
  FormFields& operator=(const FormFields&) = delete;
  ~FormFields();

  // The value of the first pair with this key, or an empty text.
  std::string_view get(std::string_view key) const;

  bool has(std::string_view key) const;

  const std::vector<std::pair<std::string, std::string>>& pairs() const { return pairs_; }

private:
  const std::string* find(std::string_view key) const;

  std::vector<std::pair<std::string, std::string>> pairs_;
};

} // namespace vorda
