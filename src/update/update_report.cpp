#include "update/update_report.h"

#include "update/version_text.h"

namespace vorda {

UpdateReport updateReport(const UpdateSource& source) {
  const UpdateAnswer found = source.check();
  if (!found.ok) {
    return {1, found.error == "updateOffline"
                   ? "Vorda: Brixmoor could not be reached to check for a newer version"
                   : "Vorda: Brixmoor sent an answer Vorda does not understand"};
  }
  if (isNewer(found.latest, source.current)) {
    return {3, "Vorda " + found.latest + " is available - this is " + source.current +
                   ". Download: " + source.downloadPage};
  }
  return {0, "Vorda " + source.current + " is up to date (Brixmoor has " + found.latest + ")."};
}

} // namespace vorda
