// Parses the output of ssh and the host, in chunks of any size, and builds the result.
//
// The output has three sections, separated by marker lines: messages of the host and of ssh,
// file system figures, listing. Sections never go back, so a file name with line breaks cannot
// end the listing. A last line without a line feed is ignored, since its path may be cut off.
// Lines longer than kMaxLineBytes are skipped and not buffered; those of the listing are counted.
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

  // All arguments must outlive this object. Progress is published while lines arrive.
  SshOutput(ListingTree& tree, const ScanResult& result, ScanProgress& progress)
      : tree_(tree), result_(result), progress_(progress) {}

  void feed(std::string_view bytes);
  void finish(); // end of the output

  std::size_t heldBytes() const { return begun_.size(); } // of an incomplete line
  std::uint64_t linesListed() const { return linesListed_; }
  bool permissionDenied() const { return permissionDenied_; } // seen outside the listing
  bool cutOff() const { return cutOff_; }                     // the listing ended inside a line
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
  bool carriageReturns_ = false; // lines end in CR LF, as the marker did
  bool tooLong_ = false;         // the current line is skipped
  std::string begun_;            // the beginning of an incomplete line
  std::uint64_t linesListed_ = 0;
  bool permissionDenied_ = false;
  bool cutOff_ = false;
  DriveFigures fileSystem_;
};

// The failure word of a scan that listed nothing: kSshDenied, kSshEmpty, or kSshFailed followed
// by ":" and the exit code of ssh.
std::string sshFailure(std::uint32_t exitCode, bool permissionDenied);

} // namespace vorda
