#include "base/natural_order.h"

#include "base/text.h"

namespace vorda {

namespace {

bool isDigit(wchar_t unit) { return unit >= L'0' && unit <= L'9'; }

// Removes the digits at the front of the text and returns them without leading zeros.
std::wstring_view takeNumber(std::wstring_view& text) {
  std::size_t zeros = 0;
  while (zeros < text.size() && text[zeros] == L'0') ++zeros;
  std::size_t end = zeros;
  while (end < text.size() && isDigit(text[end])) ++end;
  const std::wstring_view number = text.substr(zeros, end - zeros);
  text.remove_prefix(end);
  return number;
}

int sign(bool less) { return less ? -1 : 1; }

} // namespace

int compareNatural(std::wstring_view a, std::wstring_view b) {
  std::wstring_view left = a;
  std::wstring_view right = b;
  while (!left.empty() && !right.empty()) {
    if (isDigit(left.front()) && isDigit(right.front())) {
      const std::wstring_view x = takeNumber(left);
      const std::wstring_view y = takeNumber(right);
      if (x.size() != y.size()) return sign(x.size() < y.size());
      if (const int order = x.compare(y); order != 0) return order;
      continue;
    }
    const wchar_t x = upperUnit(left.front());
    const wchar_t y = upperUnit(right.front());
    if (x != y) return sign(x < y);
    left.remove_prefix(1);
    right.remove_prefix(1);
  }
  if (left.empty() != right.empty()) return sign(left.empty());
  return a.compare(b);
}

} // namespace vorda
