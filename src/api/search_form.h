// The form fields by which a search is asked for.
#pragma once

#include "http/form_fields.h"
#include "search/finder.h"

#include <cstdint>

namespace vorda {

// The fields "ids", "exts", "names" and "min". defaultMin holds when the field "min" is absent. A number is read as far as its digits
// go; one that is too large stands for the largest.
SearchRequest parseSearchRequest(const FormFields& fields, std::uint64_t defaultMin);

// A form with the one field cancel=1.
bool isCancel(const FormFields& fields);

// The same with "sort"; an unknown order is by size. No smallest size when "min" is absent.
FinderRequest parseFinderRequest(const FormFields& fields);

} // namespace vorda
