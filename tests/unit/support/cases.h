// Reads test cases from a file in tests/data/: one per line, fields separated by tabs, missing
// fields empty; "#" starts a comment line.
#pragma once

#include <doctest/doctest.h>

#include <fstream>
#include <sstream>
#include <vector>

namespace vorda::test {

inline std::vector<std::vector<std::string>> cases(const std::string& name, std::size_t fields) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream file("tests/data/" + name);
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.front() == '#') continue;
    std::istringstream text(line);
    for (std::string& field : rows.emplace_back(fields)) std::getline(text, field, '\t');
  }
  REQUIRE(!rows.empty());
  return rows;
}

} // namespace vorda::test
