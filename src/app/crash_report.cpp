#include "app/crash_report.h"

#include <algorithm>
#include <functional>

namespace vorda {

namespace {

constexpr std::wstring_view kPattern = L"crash-########-######-"; // "#": a digit
constexpr std::wstring_view kEnding = L".dmp";

bool isDigit(wchar_t unit) { return unit >= L'0' && unit <= L'9'; }

} // namespace

bool isCrashReport(std::wstring_view name) {
  if (name.size() <= kPattern.size() + kEnding.size() || !name.ends_with(kEnding)) return false;
  const std::wstring_view process =
      name.substr(kPattern.size(), name.size() - kPattern.size() - kEnding.size());
  return std::equal(kPattern.begin(), kPattern.end(), name.begin(),
                    [](wchar_t wanted, wchar_t unit) {
                      return wanted == L'#' ? isDigit(unit) : wanted == unit;
                    }) &&
         std::all_of(process.begin(), process.end(), isDigit);
}

std::vector<std::wstring> crashReports(std::vector<std::wstring> names) {
  std::erase_if(names, [](const std::wstring& name) { return !isCrashReport(name); });
  std::sort(names.begin(), names.end(), std::greater<>());
  return names;
}

} // namespace vorda
