#include "base/time.h"

namespace vorda {

std::tm localParts(std::time_t time) {
  std::tm parts{};
  localtime_r(&time, &parts);
  return parts;
}

} // namespace vorda
