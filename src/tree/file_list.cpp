#include "tree/file_list.h"

namespace vorda {

void writeFileEntry(JsonWriter& json, const ScanResult& result, const FileEntry& file) {
  json.open('{');
  json.string("p", filePath(result, file));
  json.number("s", file.size);
  json.number("m", file.modified);
  json.close('}');
}

} // namespace vorda
