// Test cases in text files: one row per line; empty lines and lines starting with "#" are
// skipped.
#pragma once

#include "base/text.h"

#include <fstream>
#include <string>

namespace vorda::test {

template <typename Use> void eachRow(const char* file, Use use) {
  std::ifstream table(file);
  for (std::string line; std::getline(table, line);) {
    if (line.ends_with('\r')) line.pop_back();
    if (!line.empty() && line[0] != '#') use(line);
  }
}

// Decodes UTF-8 in which {XXXX}, four hexadecimal digits, is one UTF-16 unit.
inline std::wstring withUnits(const std::string& text) {
  std::wstring out;
  const std::wstring wide = toUtf16(text);
  for (std::size_t i = 0; i < wide.size(); ++i) {
    const bool unit = wide[i] == L'{';
    out.push_back(unit ? static_cast<wchar_t>(std::stoi(wide.substr(i + 1, 4), nullptr, 16))
                       : wide[i]);
    if (unit) i += 5;
  }
  return out;
}

} // namespace vorda::test
