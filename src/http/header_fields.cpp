#include "http/header_fields.h"

#include "base/text.h"
#include "http/message_parser.h"

#include <algorithm>

namespace vorda {

namespace {

constexpr std::string_view kSpaces = " \t";

bool isNamed(std::string_view sent, std::string_view name) {
  return sent.size() == name.size() && lowerAscii(sent) == name;
}

// Calls take(value) for each field with this name, in order.
template <typename Take> void eachField(std::string_view lines, std::string_view name, Take take) {
  while (!lines.empty()) {
    const std::string_view line = takeLine(lines);
    const std::size_t colon = line.find(':');
    if (colon == std::string_view::npos || !isNamed(line.substr(0, colon), name)) continue;
    std::string_view value = line.substr(colon + 1);
    value.remove_prefix(std::min(value.find_first_not_of(kSpaces), value.size()));
    take(value);
  }
}

} // namespace

std::optional<std::string_view> HeaderFields::find(std::string_view name) const {
  std::optional<std::string_view> found;
  eachField(lines_, name, [&found](std::string_view value) { found = value; });
  return found;
}

bool HeaderFields::contradicts(std::string_view name) const {
  std::optional<std::string_view> first;
  bool differs = false;
  eachField(lines_, name, [&](std::string_view value) {
    differs = differs || (first && *first != value);
    if (!first) first = value;
  });
  return differs;
}

} // namespace vorda
