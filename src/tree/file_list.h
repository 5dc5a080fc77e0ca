// Kept files as JSON.
#pragma once

#include "json/json_writer.h"
#include "scan/scan_result.h"

namespace vorda {

// {"p":full path,"s":bytes,"m":milliseconds since 1970}; more: with the keys of bytes on disk, if the
// scan has them.
void writeFileEntry(JsonWriter& json, const ScanResult& result, const FileEntry& file,
                    bool more = false);

} // namespace vorda
