// The header fields of a request, kept as they were sent and searched when asked for. Many of them
// therefore cost no more than their bytes, whatever their names are.
#pragma once

#include <optional>
#include <string>
#include <string_view>
#include <utility>

namespace vorda {

class HeaderFields {
public:
  HeaderFields() = default;
  // The lines after the request line. Lines end with CR LF; those without ":" are not fields.
  explicit HeaderFields(std::string lines) : lines_(std::move(lines)) {}

  // The value of the last field with this name, without leading spaces and tabs. The name is in
  // lower case; names that were sent are compared without regard to case.
  std::optional<std::string_view> find(std::string_view name) const;

  // Whether two fields with this name have different values.
  bool contradicts(std::string_view name) const;

private:
  std::string lines_;
};

} // namespace vorda
