// Reads what ssh and the other machine print, in pieces of any size, and builds the
// result while it comes.
//
// Before the first mark stands what machines greet with and what ssh itself has to say;
// then the figures of the file system, then the listing. The sections only ever move
// forward, so that a file's name with line breaks in it cannot end the listing. A line
// that its line feed never came for is not used: what it names may be cut short. A line
// longer than kMaxLineBytes is passed over; nothing longer is ever held.
#pragma once

#include "scan/progress.h"
#include "scan/ssh/listing_tree.h"
#include "scan/targets.h"

#include <cstdint>
#include <string>
#include <string_view>

namespace vorda {

class SshOutput {
public:
  static constexpr std::size_t kMaxLineBytes = 65'536;
  static constexpr std::uint64_t kPublishEvery = 4'096; // lines of the listing

  // Both must outlive the reader; the progress is published to while lines come.
  SshOutput(ListingTree& tree, const ScanResult& result, ScanProgress& progress)
      : tree_(tree), result_(result), progress_(progress) {}

  void feed(std::string_view bytes);
  void finish(); // no more will come

  std::uint64_t linesListed() const { return linesListed_; }
  bool permissionDenied() const { return permissionDenied_; } // was said outside the listing
  const DriveFigures& fileSystem() const { return fileSystem_; }

private:
  enum class Section { greeting, fileSystem, listing };

  void wholeLine(std::string_view line);
  bool startsSection(std::string_view line);
  bool addToTree(std::string_view line);
  void lookForRefusal(std::string_view line);
  void publish();

  ListingTree& tree_;
  const ScanResult& result_;
  ScanProgress& progress_;
  Section section_ = Section::greeting;
  bool carriageReturns_ = false; // lines end in CR LF, as the mark did
  bool tooLong_ = false;         // the line that is coming is passed over
  std::string begun_;            // the front of a line whose end has not come yet
  std::uint64_t linesListed_ = 0;
  bool permissionDenied_ = false;
  DriveFigures fileSystem_;
};

// The word for a scan that listed nothing: kSshDenied, kSshEmpty or kSshFailed with
// ":" and the exit code of ssh.
std::string sshFailure(std::uint32_t exitCode, bool permissionDenied);

} // namespace vorda
