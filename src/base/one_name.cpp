#include "base/one_name.h"

#include "base/paths.h"

#include <algorithm>

namespace vorda {

namespace {

bool endsName(wchar_t unit) { return isSeparator(unit) || unit == L'\0'; }

} // namespace

bool leadsElsewhere(std::wstring_view name) {
  return std::any_of(name.begin(), name.end(), endsName);
}

std::wstring asOneName(std::wstring_view name) {
  std::wstring one(name);
  std::replace_if(one.begin(), one.end(), endsName, L'\xFFFD');
  return one;
}

} // namespace vorda
