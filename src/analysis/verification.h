// Reading files again, right before some of them are deleted as duplicates of others:
// which of them are equal now, by the SHA-256 of their whole contents.
#pragma once

#include "analysis/background_run.h"
#include "analysis/file_contents.h"
#include "analysis/finder.h"
#include "base/http_message.h"

namespace vorda {

// POST: starts to read the files of the fields p, or with the one field cancel=1 stops
// that. 400 "niets opgegeven" without a path. contents must live until the run is over.
HttpResponse startVerification(const HttpRequest& request, BackgroundRun& verification,
                               FileContents& contents, DeleteRefusal refusal);

// Any other method: progress or result.
HttpResponse verificationStatus(const BackgroundRun& verification);

} // namespace vorda
