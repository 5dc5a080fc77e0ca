// What the maker's web site says about the latest version, read from its bytes.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

// More of a body is never read.
inline constexpr std::size_t kMostAnswerBytes = 65'536;

struct UpdateAnswer {
  bool ok = false;
  std::string latest; // a version, see isVersionText; empty unless ok
  std::string error;  // "updateOffline" or "updateAnswer"; empty when ok
};

inline UpdateAnswer updateOffline() { return {false, "", "updateOffline"}; }

// An answer that arrived: a status other than 200, or a body that does not name a version,
// is "updateAnswer".
UpdateAnswer readUpdateAnswer(unsigned status, std::string_view body);

} // namespace vorda
