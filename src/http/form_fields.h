// The form-encoded body of a POST: an ordered list of decoded (key, value) pairs. There may
// be a password among them: each value is decoded in its place and wiped in the end.
#pragma once

#include <string>
#include <string_view>
#include <utility>
#include <vector>

namespace vorda {

// "+" becomes a blank, "%" with two hexadecimal digits that byte; everything else,
// also a "%" without them, stays. The result is bytes, not necessarily UTF-8.
std::string decodeFormText(std::string_view text);

class FormFields {
public:
  FormFields() = default;
  // Splits at every "&", each piece at its first "="; a piece without one is a key with
  // an empty value.
  explicit FormFields(std::string_view body);
  FormFields(const FormFields&) = delete;
  FormFields& operator=(const FormFields&) = delete;
  ~FormFields();

  // The value of the first pair with this key; empty when there is none.
  std::string_view get(std::string_view key) const;

  bool has(std::string_view key) const;

  const std::vector<std::pair<std::string, std::string>>& pairs() const { return pairs_; }

private:
  const std::string* find(std::string_view key) const;

  std::vector<std::pair<std::string, std::string>> pairs_;
};

} // namespace vorda
