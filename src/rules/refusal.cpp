#include "rules/refusal.h"

namespace vorda {

std::string_view wordOf(Refusal refusal) {
  switch (refusal) {
  case Refusal::none: break;
  case Refusal::tooShort: return "tooshort";
  case Refusal::dotDot: return "dotdot";
  case Refusal::wildcard: return "wildcard";
  case Refusal::driveRoot: return "driveroot";
  case Refusal::notAbsolute: return "notabsolute";
  case Refusal::wholeShare: return "wholeshare";
  case Refusal::windows: return "windows";
  case Refusal::programs: return "programs";
  case Refusal::restore: return "restore";
  case Refusal::recycleBin: return "recyclebin";
  case Refusal::boot: return "boot";
  case Refusal::recovery: return "recovery";
  case Refusal::programData: return "programdata";
  case Refusal::allUsers: return "allusers";
  case Refusal::pageFile: return "pagefile";
  case Refusal::hibernationFile: return "hiberfil";
  case Refusal::bootManager: return "bootmgr";
  case Refusal::profile: return "profile";
  case Refusal::outside: return "outside";
  case Refusal::ambiguous: return "ambiguous";
  case Refusal::missing: return "missing";
  case Refusal::tooLong: return "toolong";
  case Refusal::changed: return "changed";
  }
  return {};
}

} // namespace vorda
