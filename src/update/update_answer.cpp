#include "update/update_answer.h"

#include "update/version_text.h"

namespace vorda {

namespace {

// A REST answer such as [{"meta":{"bx_version":"2.0.1"}}], written without blanks.
constexpr std::string_view kKey = "\"bx_version\":\"";

} // namespace

UpdateAnswer readUpdateAnswer(unsigned status, std::string_view body) {
  UpdateAnswer notUnderstood = {false, "", "updateAnswer"};
  const std::size_t key = body.find(kKey);
  if (status != 200 || key == std::string_view::npos) return notUnderstood;
  const std::string_view rest = body.substr(key + kKey.size());
  const std::size_t end = rest.find('"');
  if (end == std::string_view::npos || !isVersionText(rest.substr(0, end))) return notUnderstood;
  return {true, std::string(rest.substr(0, end)), ""};
}

} // namespace vorda
