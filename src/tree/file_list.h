// Kept files as JSON.
#pragma once

#include "json/json_writer.h"
#include "scan/scan_result.h"

namespace vorda {

// {"p":full path,"s":bytes,"m":milliseconds since 1970}
void writeFileEntry(JsonWriter& json, const ScanResult& result, const FileEntry& file);

} // namespace vorda
