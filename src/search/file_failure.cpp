#include "search/file_failure.h"

#include "scan/words.h"

namespace vorda {

std::string_view wordOf(FileFailure failure) {
  switch (failure) {
  case FileFailure::none: break;
  case FileFailure::missing: return "missing";
  case FileFailure::cloud: return "cloud";
  case FileFailure::link: return "link";
  case FileFailure::unreadable: return "unreadable";
  case FileFailure::changed: return "changed";
  case FileFailure::cancelled: return kCancelled;
  }
  return {};
}

} // namespace vorda
