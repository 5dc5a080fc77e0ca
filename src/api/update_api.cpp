#include "api/update_api.h"

#include "json/json_writer.h"
#include "update/version_text.h"

namespace vorda {

HttpResponse checkUpdate(const UpdateSource& source) {
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

} // namespace vorda
