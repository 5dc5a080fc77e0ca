// How an update is checked for, and the outcome as the command line tells it.
#pragma once

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

struct UpdateReport {
  int exitCode = 0; // 0 up to date, 3 newer, 1 failed
  std::string text; // UTF-8, one line without its end; for standard error when it failed
};

UpdateReport updateReport(const UpdateSource& source);

} // namespace vorda
