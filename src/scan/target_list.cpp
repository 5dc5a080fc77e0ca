#include "scan/target_list.h"

#include "json/json_writer.h"

namespace vorda {

namespace {

void writeDrive(JsonWriter& json, const DriveTarget& drive) {
  json.open('{');
  json.string("path", drive.path);
  json.string("label", drive.label);
  json.string("fs", drive.fileSystem);
  json.string("type", drive.type);
  json.number("size", drive.totalBytes);
  json.number("free", drive.freeBytes);
  json.boolean("turbo", drive.turbo);
  json.string("turboReason", drive.turboReason);
  json.close('}');
}

} // namespace

std::string targetsDocument(const TargetList& list) {
  JsonWriter json;
  json.open('{');
  json.open("drives", '[');
  for (const DriveTarget& drive : list.drives) writeDrive(json, drive);
  json.close(']');
  json.open("wsl", '[');
  for (const WslTarget& distribution : list.wsl) {
    json.open('{');
    json.string("name", distribution.name);
    json.string("path", distribution.path);
    json.close('}');
  }
  json.close(']');
  json.string("home", list.home);
  json.string("machine", list.machine);
  json.boolean("elevated", list.elevated);
  json.string("version", list.version);
  json.string("vendor", "Brixmoor");
  json.string("website", list.website);
  json.string("logPath", list.logPath);
  if (!list.startPath.empty()) json.string("startPath", list.startPath);
  json.close('}');
  return json.take();
}

} // namespace vorda
