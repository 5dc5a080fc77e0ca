#include "app/update_report.h"

#include "app/exit_code.h"
#include "update/version_text.h"

namespace vorda {

UpdateReport updateReport(const UpdateSource& source) {
  const UpdateAnswer found = source.check();
  if (!found.ok) {
    return {kExitFailed, found.error == kUpdateOffline
                             ? "Vorda: Brixmoor could not be reached to check for a newer version"
                             : "Vorda: Brixmoor sent an answer Vorda does not understand"};
  }
  if (isNewer(found.latest, source.current)) {
    return {kExitNewerVersion, "Vorda " + found.latest + " is available - this is " +
                                   source.current + ". Download: " + source.downloadPage};
  }
  return {kExitDone,
          "Vorda " + source.current + " is up to date (Brixmoor has " + found.latest + ")."};
}

} // namespace vorda
