// Reads the body of an update server's answer. The result is a valid version from the body, and
// comparing versions is consistent.
#include "update/update_answer.h"
#include "update/version_text.h"

#include <cstdint>
#include <cstdlib>

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string_view body(reinterpret_cast<const char*>(data), size);
  const vorda::UpdateAnswer answer = vorda::readUpdateAnswer(200, body);
  if (answer.ok != (answer.error.empty() && vorda::isVersionText(answer.latest))) std::abort();
  if (body.find(answer.latest) == std::string_view::npos) std::abort();
  const std::string_view other = body.substr(0, size / 2);
  if (vorda::isNewer(answer.latest, other) && vorda::isNewer(other, answer.latest)) std::abort();
  if (vorda::isNewer(body, body)) std::abort();
  return 0;
}
