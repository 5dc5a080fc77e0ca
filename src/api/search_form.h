// Parses the form fields that describe a search.
#pragma once

#include "http/form_fields.h"
#include "search/finder.h"

#include <cstdint>

namespace vorda {

// The fields "ids", "exts", "names" and "min" (bytes; defaultMin when absent). "min" is parsed
// up to the first non-digit and saturates; an id that is not a positive number is ignored.
SearchRequest parseSearchRequest(const FormFields& fields, std::uint64_t defaultMin);

// Whether the form consists of the single field cancel=1.
bool isCancel(const FormFields& fields);

// The same with "sort", which defaults to size, and with "max" (bytes, without effect when absent or empty), "after" and "before"
// (milliseconds since 1970, likewise when 0). Without "min" there is no minimum.
FinderRequest parseFinderRequest(const FormFields& fields);

} // namespace vorda
