#include "update/update_answer.h"

#include "update/version_text.h"

namespace vorda {

UpdateAnswer readUpdateAnswer(unsigned status, std::string_view body) {
  // The body is JSON without spaces, such as [{"meta":{"bx_version":"2.0.1"}}].
  const std::string key = "\"" + std::string(kVersionField) + "\":\"";
  UpdateAnswer notUnderstood = {false, "", kUpdateAnswer};
  const std::size_t at = body.find(key);
  if (status != 200 || at == std::string_view::npos) return notUnderstood;
  const std::string_view rest = body.substr(at + key.size());
  const std::size_t end = rest.find('"');
  if (end == std::string_view::npos || !isVersionText(rest.substr(0, end))) return notUnderstood;
  return {true, std::string(rest.substr(0, end)), ""};
}

} // namespace vorda
