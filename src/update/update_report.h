// The outcome of an update check, for the page and for the command line.
#pragma once

#include "base/http_message.h"
#include "update/update_answer.h"

#include <functional>
#include <string>

namespace vorda {

// How to check; fixed when the program starts.
struct UpdateSource {
  std::string current;                 // this program's version; empty when it is not known
  std::string downloadPage;            // where people get a newer one
  std::function<UpdateAnswer()> check; // takes as long as the network does, within bounds
};

// POST /api/update: 200 with what the web site says, 502 with the word of the failure.
HttpResponse updateDocument(const UpdateSource& source);

struct UpdateReport {
  int exitCode = 0; // 0 up to date, 3 newer, 1 failed
  std::string text; // UTF-8, one line without its end; for standard error when it failed
};

UpdateReport updateReport(const UpdateSource& source);

} // namespace vorda
