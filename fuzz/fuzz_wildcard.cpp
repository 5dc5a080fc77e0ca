// Input: a pattern and a name, separated by the first NUL. The matcher must agree with a
// straightforward dynamic-programming implementation of "*" and "?".
#include "base/text.h"
#include "base/wildcard.h"
#include "scan/file_filter.h"

#include <cstdint>
#include <cstdlib>
#include <vector>

namespace {

using vorda::isHighSurrogate;
using vorda::isLowSurrogate;

// rest[n] says whether pattern[p..] matches name[n..], for p from the end to the start.
bool byDefinition(std::wstring_view pattern, std::wstring_view name) {
  const std::size_t length = name.size();
  const auto step = [&name, length](std::size_t n) {
    const bool pair = n + 1 < length && isHighSurrogate(name[n]) && isLowSurrogate(name[n + 1]);
    return n + (pair ? 2U : 1U);
  };
  std::vector<bool> rest(length + 1, false);
  rest[length] = true;
  for (std::size_t p = pattern.size(); p-- > 0;) {
    std::vector<bool> here(length + 1, false);
    for (std::size_t n = length + 1; n-- > 0;) {
      if (pattern[p] == L'*') {
        here[n] = rest[n] || (n < length && here[step(n)]);
      } else if (n < length) {
        const bool any = pattern[p] == L'?';
        const bool same = vorda::upperUnit(pattern[p]) == vorda::upperUnit(name[n]);
        here[n] = any ? rest[step(n)] : (same && rest[n + 1]);
      }
    }
    rest = here;
  }
  return rest[0];
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  if (size > 400) return 0;
  const std::string_view bytes(reinterpret_cast<const char*>(data), size);
  const std::size_t end = bytes.find('\0');
  if (end == std::string_view::npos) return 0;
  const std::wstring pattern = vorda::toUtf16(bytes.substr(0, end));
  const std::wstring name = vorda::toUtf16(bytes.substr(end + 1));
  if (vorda::matchesWildcard(pattern, name) != byDefinition(pattern, name)) std::abort();
  const bool held = vorda::matchesWildcard(L"*" + pattern + L"*", name);
  const bool plain = pattern.find_first_of(L"*?") == std::wstring::npos;
  if (plain && vorda::containsIgnoreCase(name, pattern) != held) std::abort();
  vorda::passesFilter(name, vorda::parseExtensions(pattern), vorda::parseNamePatterns(pattern));
  return 0;
}
