#include "fileops/deletion_log.h"

#include "base/text.h"

namespace vorda {

std::string deletedLine(const LocalTime& at, std::string_view mode, std::uint64_t bytes,
                        std::wstring_view path) {
  std::string line = secondText(at);
  line.append("  ").append(mode).append("  ").append(std::to_string(bytes)).append("  ");
  appendUtf8(line, path);
  return line.append("\r\n");
}

std::string failedLine(const LocalTime& at, int code, std::uint64_t left, std::uint64_t handed) {
  std::string line = secondText(at);
  line.append("  MISLUKT (").append(std::to_string(code)).append(")  ");
  line.append(std::to_string(left)).append(" van ").append(std::to_string(handed));
  return line.append(" paden bleven staan\r\n");
}

std::string cleanedLine(const LocalTime& at, std::uint64_t bytes, std::wstring_view folder,
                        std::uint64_t deleted, std::uint64_t skipped) {
  std::string line = secondText(at);
  line.append("  LEEGGEMAAKT  ").append(std::to_string(bytes)).append("  ");
  appendUtf8(line, folder);
  line.append("  (").append(std::to_string(deleted)).append(" weg, ");
  return line.append(std::to_string(skipped)).append(" overgeslagen)\r\n");
}

} // namespace vorda
