// Rows of cases from a file in tests/data/: a line each, its fields apart by tabs; "#" begins a
// comment.
#pragma once

#include <doctest/doctest.h>

#include <fstream>
#include <sstream>
#include <string>
#include <vector>

namespace vorda::test {

inline std::vector<std::vector<std::string>> cases(const std::string& name) {
  std::vector<std::vector<std::string>> rows;
  std::ifstream file("tests/data/" + name);
  for (std::string line; std::getline(file, line);) {
    if (line.empty() || line.front() == '#') continue;
    std::istringstream fields(line);
    rows.emplace_back();
    for (std::string field; std::getline(fields, field, '\t');) rows.back().push_back(field);
  }
  REQUIRE(!rows.empty());
  return rows;
}

} // namespace vorda::test
