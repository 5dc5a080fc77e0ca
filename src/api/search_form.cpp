#include "api/search_form.h"

#include "base/paths.h"
#include "base/text.h"

#include <algorithm>
#include <charconv>
#include <limits>

namespace vorda {

namespace {

template <typename Number> Number leadingNumber(std::string_view text) {
  Number value = 0;
  const auto parsed = std::from_chars(text.data(), text.data() + text.size(), value);
  return parsed.ec == std::errc::result_out_of_range ? std::numeric_limits<Number>::max() : value;
}

std::vector<int> parseIds(std::string_view text) {
  std::vector<int> ids;
  while (true) {
    const std::size_t end = text.find(',');
    const std::string_view piece = text.substr(0, end);
    int id = 0;
    const auto parsed = std::from_chars(piece.data(), piece.data() + piece.size(), id);
    const bool whole = parsed.ec == std::errc() && parsed.ptr == piece.data() + piece.size();
    if (whole && id > 0 && std::find(ids.begin(), ids.end(), id) == ids.end()) ids.push_back(id);
    if (end == std::string_view::npos) return ids;
    text.remove_prefix(end + 1);
  }
}

} // namespace

SearchRequest parseSearchRequest(const FormFields& fields, std::uint64_t defaultMin) {
  SearchRequest request;
  request.ids = parseIds(fields.get("ids"));
  request.exts = toUtf16(fields.get("exts"));
  request.names = toUtf16(fields.get("names"));
  request.extensions = parseExtensions(request.exts);
  request.namePatterns = parseNamePatterns(request.names);
  request.min = fields.has("min") ? leadingNumber<std::uint64_t>(fields.get("min")) : defaultMin;
  return request;
}

bool isCancel(const FormFields& fields) {
  return fields.pairs().size() == 1 && fields.get("cancel") == "1";
}

FinderRequest parseFinderRequest(const FormFields& fields) {
  FinderRequest request = {parseSearchRequest(fields, 0), hitOrderOf(fields.get("sort"))};
  FileBounds& bounds = request.search.bounds;
  if (!fields.get("max").empty()) bounds.most = leadingNumber<std::uint64_t>(fields.get("max"));
  bounds.after = leadingNumber<std::uint64_t>(fields.get("after"));
  if (const std::string_view in = fields.get("in"); !in.empty()) {
    request.search.in = normaliseRoot(toUtf16(in));
  }
  bounds.before = leadingNumber<std::uint64_t>(fields.get("before"));
  return request;
}

} // namespace vorda
