// How this program checks for an update; fixed at startup.
#pragma once

#include "update/update_answer.h"

#include <functional>
#include <string>

namespace vorda {

struct UpdateSource {
  std::string current;                 // version of this program; empty if unknown
  std::string downloadPage;            // URL
  std::function<UpdateAnswer()> check; // blocks until there is an answer or a time-out
};

} // namespace vorda
