// Case tables in tests/data/. Lines that start with "# " are comments.
#pragma once

#include "base/text.h"

#include <doctest/doctest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace vorda::test {

// All lines but comments, without a carriage return at the end only if withoutCr.
inline std::vector<std::string> linesOf(const std::string& name, bool withoutCr = true) {
  std::ifstream file("tests/data/" + name, std::ios::binary);
  std::vector<std::string> lines;
  for (std::string line; std::getline(file, line);) {
    if (line.starts_with("# ")) continue;
    if (withoutCr && line.ends_with('\r')) line.pop_back();
    lines.push_back(std::move(line));
  }
  REQUIRE(!lines.empty());
  return lines;
}

// Calls use(line) for every line that is not empty.
template <typename Use> void eachRow(const std::string& name, Use use) {
  for (const std::string& line : linesOf(name)) {
    if (!line.empty()) use(line);
  }
}

// Splits every line that is not empty at its tabs; missing fields are empty.
inline std::vector<std::vector<std::string>> cases(const std::string& name, std::size_t fields) {
  std::vector<std::vector<std::string>> rows;
  eachRow(name, [&rows, fields](const std::string& line) {
    std::istringstream text(line);
    for (std::string& field : rows.emplace_back(fields)) std::getline(text, field, '\t');
  });
  return rows;
}

// Decodes UTF-8 in which {hex} with four digits is one UTF-16 unit.
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
