#include "scan/words.h"

namespace vorda {

std::string_view wordOf(ScanMethod method) {
  switch (method) {
  case ScanMethod::none: break;
  case ScanMethod::walk: return "walk";
  case ScanMethod::turbo: return "mft";
  case ScanMethod::ssh: return "ssh";
  }
  return {};
}

std::string_view wordOf(ScanStatus status) {
  switch (status) {
  case ScanStatus::none: break;
  case ScanStatus::walk: return "walk";
  case ScanStatus::turbo: return "turbo";
  case ScanStatus::fallback: return "fallback";
  case ScanStatus::reading: return "reading";
  case ScanStatus::merging: return "merging";
  case ScanStatus::mftOpen: return "mftOpen";
  case ScanStatus::mftFind: return "mftFind";
  case ScanStatus::mftRead: return "mftRead";
  case ScanStatus::tree: return "tree";
  case ScanStatus::sshConnect: return "sshConnect";
  case ScanStatus::sshList: return "sshList";
  case ScanStatus::summing: return "summing";
  }
  return {};
}

std::string_view wordOf(TargetClass target) {
  switch (target) {
  case TargetClass::ssh: return "ssh";
  case TargetClass::wsl: return "wsl";
  case TargetClass::unc: return "unc";
  case TargetClass::drive: return "drive";
  case TargetClass::folder: break;
  }
  return "folder";
}

std::string_view wordOf(Partial partial) {
  switch (partial) {
  case Partial::none: break;
  case Partial::cancelled: return kCancelled;
  case Partial::broken: return "broken";
  }
  return {};
}

std::string failureText(std::string_view word) {
  if (word == kNoSuchDir) {
    return "the path does not exist, is not a folder, or this account cannot open it";
  }
  if (word == kNoMemory) return "the memory of this computer was not enough; scan a part of it";
  if (word == kSshDenied) {
    return "the host refused the sign-in; on the command line only a key works, the key of the "
           "account Vorda runs as";
  }
  if (word.starts_with(kSshFailed)) {
    return "ssh stopped with an error; 255 means unreachable, port closed or host key changed";
  }
  if (word == kSshEmpty) return "signed in, but find returned nothing; does the path exist?";
  if (word == kSshTooLarge) {
    return "the host lists more than 20 million entries or 1 GB of names; scan a folder of it";
  }
  if (word == kSshTarget) return "not readable as user@host:/path";
  if (word == kSshMissing) {
    return "ssh.exe could not be started; is the OpenSSH client installed?";
  }
  return std::string(word);
}

} // namespace vorda
