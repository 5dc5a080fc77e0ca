#include "update/update_report.h"

#include "json/json_writer.h"
#include "update/version_text.h"

namespace vorda {

HttpResponse updateDocument(const UpdateSource& source) {
  const UpdateAnswer found = source.check();
  JsonWriter json;
  json.open('{');
  json.boolean("ok", found.ok);
  json.string("current", source.current);
  json.string("latest", found.latest);
  json.boolean("newer", found.ok && isNewer(found.latest, source.current));
  json.string("url", source.downloadPage);
  if (!found.ok) json.string("error", found.error);
  json.close('}');
  return answer(found.ok ? 200 : 502, json.take());
}

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
