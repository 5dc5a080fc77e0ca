// Asking the maker's web site for the latest version: the request target and the answer.
#pragma once

#include <string>
#include <string_view>

namespace vorda {

// The target and the field it asks for are part of the web site's interface.
inline constexpr const wchar_t* kUpdateTarget =
    L"/wp-json/wp/v2/bx_tool?slug=vorda&_fields=meta.bx_version";
inline constexpr std::string_view kVersionField = "bx_version";

// The rest of a longer body is not read.
inline constexpr std::size_t kMaxAnswerBytes = 65'536;

// Failure words; part of the API.
inline constexpr const char* kUpdateOffline = "updateOffline"; // no complete answer in time
inline constexpr const char* kUpdateAnswer = "updateAnswer";   // an answer that names no version

struct UpdateAnswer {
  bool ok = false;
  std::string latest; // a valid version (see isVersionText), or empty on failure
  std::string error;  // a failure word, or empty
};

inline UpdateAnswer updateOffline() { return {false, "", kUpdateOffline}; }

// Reads a complete answer. Fails with kUpdateAnswer if status is not 200 or the body does not
// contain a valid version.
UpdateAnswer readUpdateAnswer(unsigned status, std::string_view body);

} // namespace vorda
