#include "base/case_tables.h"

#include <memory>

namespace vorda {

const CaseTables& caseTables() {
  static const std::unique_ptr<const CaseTables> tables = [] {
    auto read = std::make_unique<CaseTables>();
    readCaseTables(*read);
    return read;
  }();
  return *tables;
}

} // namespace vorda
