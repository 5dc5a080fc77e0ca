#include "json/size_text.h"

#include <cstdio>

namespace vorda {

std::string formatSize(std::uint64_t bytes) {
  struct Unit {
    std::uint64_t from;
    const char* format;
  };
  static constexpr Unit kUnits[] = {{1ULL << 40, "%.2f TB"},
                                    {1ULL << 30, "%.1f GB"},
                                    {1ULL << 20, "%.0f MB"},
                                    {1ULL << 10, "%.0f KB"}};
  for (const Unit& unit : kUnits) {
    if (bytes < unit.from) continue;
    char text[64];
    std::snprintf(text, sizeof text, unit.format,
                  static_cast<double>(bytes) / static_cast<double>(unit.from));
    std::string out(text);
    const std::size_t point = out.find('.');
    if (point != std::string::npos) out[point] = ',';
    return out;
  }
  return std::to_string(bytes) + " B";
}

} // namespace vorda
