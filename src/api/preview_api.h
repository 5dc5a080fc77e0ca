// The endpoint that shows an image among duplicates.
#pragma once

#include "api/app_state.h"

namespace vorda {

// GET /api/preview?p=…: the contents of an image. Interactive mode only, only of a file that the
// document of the duplicate search on view lists, at most 20 MB, and only what its first bytes say is a
// PNG, JPEG, GIF, WebP or BMP image.
HttpResponse previewImage(const AppState& state, const HttpRequest& request);

} // namespace vorda
