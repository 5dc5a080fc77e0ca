#include "tree/file_list.h"

#include "tree/disk_keys.h"

namespace vorda {

void writeFileEntry(JsonWriter& json, const ScanResult& result, const FileEntry& file, bool more) {
  json.open('{');
  json.string("p", filePath(result, file));
  json.number("s", file.size);
  json.number("m", file.modified);
  if (more && knowsDisk(result)) writeDiskKeys(json, fileKeys(result, file));
  json.close('}');
}

} // namespace vorda
