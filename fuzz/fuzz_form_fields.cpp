// Input: a form-encoded body. Re-encoding the parsed fields must parse to the same fields.
#include "http/form_fields.h"

#include <cstdint>
#include <cstdlib>

namespace {

std::string encoded(std::string_view text) {
  constexpr std::string_view kDigits = "0123456789abcdef";
  std::string out;
  for (const char c : text) {
    const auto byte = static_cast<unsigned char>(c);
    out += {'%', kDigits[byte / 16], kDigits[byte % 16]};
  }
  return out;
}

} // namespace

extern "C" int LLVMFuzzerTestOneInput(const std::uint8_t* data, std::size_t size) {
  const std::string body(reinterpret_cast<const char*>(data), size);
  const vorda::FormFields fields(body);
  if (fields.pairs().empty()) std::abort();
  std::string again;
  for (const auto& [key, value] : fields.pairs()) {
    if (!again.empty()) again += '&';
    again += encoded(key) + "=" + encoded(value);
  }
  if (vorda::FormFields(again).pairs() != fields.pairs()) std::abort();
  if (fields.get(fields.pairs().front().first) != fields.pairs().front().second) std::abort();
  const auto& [key, value] = fields.pairs().back();
  if (vorda::lastFieldValue(body, key) != value) std::abort();
  if (vorda::countFields(body) != fields.pairs().size()) std::abort();
  return 0;
}
