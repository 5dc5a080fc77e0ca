#include "base/time.h"

namespace vorda {

std::tm localParts(std::time_t time) {
  std::tm parts{};
  localtime_s(&parts, &time);
  return parts;
}

} // namespace vorda
