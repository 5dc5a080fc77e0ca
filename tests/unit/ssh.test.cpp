#include "base/quote_argument.h"
#include "base/text.h"
#include "rules/safety_rules.h"
#include "scan/ssh/ssh_output.h"
#include "scan/ssh/ssh_scan.h"
#include "scan/ssh/ssh_start.h"
#include "scan/ssh/ssh_target.h"
#include "support/app.h"
#include "support/cases.h"
#include "support/played_ssh.h"
#include "tree/size_tree.h"

#include <sstream>

using namespace vorda;
using namespace vorda::test;

namespace {

struct Listing {
  ScanOptions options;
  ScanProgress progress;
  ScanResult result;
  ListingTree tree{"/data", options, result};
  SshOutput output{tree, result, progress};
  Listing() { options.fileListThreshold = 0; }

  std::string summary() {
    sumTree(result.folders, progress);
    std::ostringstream out;
    out << "== " << result.fileCount << " files " << result.byteCount << " bytes "
        << output.linesListed() << " lines drive " << output.fileSystem().totalBytes << ' '
        << output.fileSystem().freeBytes << (output.permissionDenied() ? " denied\n" : " -\n");
    for (std::uint32_t i = 0; i < result.folders.size(); ++i) {
      out << toUtf8(folderPath(result.folders, i, L'/')) << ' ' << result.folders[i].ownBytes << ' '
          << result.folders[i].ownFiles << '\n';
    }
    for (const FileEntry& file : result.files) {
      out << toUtf8(filePath(result, file)) << ' ' << file.size << ' ' << file.modified << '\n';
    }
    return out.str();
  }
};

// A whole scan of a process that prints these texts; an empty one cancels the scan, or finds no
// memory.
struct PlayedScan {
  ScanProgress progress;
  ScanResult result;
  std::string trace;
  bool done = false;
  bool memory = true;

  PlayedScan(std::vector<std::string> texts, std::uint32_t exitCode,
             const ListingLimits& limits = {}, bool memoryRunsOut = false) {
    auto played = std::make_unique<Played>();
    played->texts = std::move(texts);
    played->onSilence = [this, memoryRunsOut] {
      if (memoryRunsOut) throw std::bad_alloc();
      progress.cancelRequested = true;
    };
    played->exitCode = exitCode;
    played->trace = &trace;
    ScanOptions options;
    options.root = L"h:/data";
    SshFacts facts;
    const SshStart start = [&](const std::wstring&, const Secret&, std::string_view&) {
      return std::move(played);
    };
    try {
      done = sshScan(start, progress, options, Secret(), result, facts, limits);
    } catch (const std::bad_alloc&) {
      memory = false;
    }
  }

  std::string outcome() const {
    const ProgressTexts texts = progress.texts();
    return (done ? "" : texts.failure + " ") + std::to_string(result.fileCount) + " " +
           std::string(wordOf(result.partial)) + trace + (memory ? "" : " no memory");
  }
};

} // namespace

TEST_CASE("targets are parsed or refused, and quoted on the command line") {
  for (const auto& row : cases("ssh_targets.txt", 4)) {
    CAPTURE(row[0]);
    const auto target = parseSshTarget(toUtf16(row[0]));
    CHECK(target.has_value() == (row[1] != "refused"));
    if (!target) continue;
    CHECK(toUtf8(target->host) == row[1]);
    CHECK(std::to_string(target->port) == row[2]);
    CHECK(toUtf8(target->path) == row[3]);
  }
  for (wchar_t unit = 0; unit < 128; ++unit) {
    const bool special = unit < L' ' || std::wstring_view(L"'\"`$;|&<>()\\\x7F").find(unit) !=
                                            std::wstring_view::npos;
    CHECK(parseSshTarget(std::wstring(L"h:/a") + unit + L"b").has_value() == !special);
  }
  for (const wchar_t unit : std::wstring_view(L" ;/$`{^=!\"'|&<>()\u00E9")) {
    CHECK_FALSE(parseSshTarget(std::wstring(L"h") + unit + L"x:/x"));
  }
  CHECK(sshCommandLine({L"me@h", 2222, L"/my data"}, false) ==
        LR"(ssh.exe -p 2222 -o BatchMode=yes -o ConnectTimeout=10 -o )"
        LR"(StrictHostKeyChecking=accept-new me@h "echo VORDA-DF; df -Pk '/my data' 2>/dev/null; )"
        LR"(echo VORDA-FIND; find '/my data' -xdev \( -type f -o -type d \) -printf )"
        LR"('%y\t%s\t%T@\t%p\n' 2>/dev/null")");
  const auto hasHost = [](const wchar_t* host, const std::wstring& given) {
    const std::wstring line = sshCommandLine({host, 22, L"/"}, true);
    CHECK(line.find(L" -o NumberOfPasswordPrompts=1 ") != std::wstring::npos);
    return line.find(L" " + given + L" \"") != std::wstring::npos;
  };
  CHECK(hasHost(L"me@[::1%e]", L"me@::1%e"));
  CHECK(hasHost(L"me@[h", L"me@[h"));
  CHECK(hasHost(L"me@h]", L"me@h]"));
  CHECK(quoteArgument(LR"(a\b "c\" \\"d\\)") == LR"("a\b \"c\\\" \\\\\"d\\\\")");
}

TEST_CASE("listings parse the same however they are split") {
  const std::vector<std::string> lines = linesOf("ssh_listings.txt", false);
  for (auto at = lines.begin(); at != lines.end();) {
    CAPTURE(*at);
    std::string input;
    std::string expected;
    for (++at; !at->starts_with("=="); ++at) input += *at + "\n";
    for (; at != lines.end() && !at->starts_with("##"); ++at) {
      if (!at->empty()) expected += *at + "\n";
    }
    std::uint64_t before = 0;
    for (std::size_t cut = 0; cut <= input.size(); ++cut) {
      Listing listing;
      listing.output.feed(std::string_view(input).substr(0, cut));
      const std::uint64_t listed = listing.output.linesListed();
      CHECK((listed == before || (listed == before + 1 && input[cut - 1] == '\n')));
      before = listed;
      listing.output.feed(std::string_view(input).substr(cut));
      listing.output.finish();
      CHECK(listing.summary() == expected);
    }
  }
}

TEST_CASE("overlong lines are skipped, very deep paths are accepted") {
  Listing listing;
  listing.output.feed(std::string(SshOutput::kMaxLineBytes + 1, 'x') + "\n"); // a greeting
  listing.output.feed("VORDA-FIND\nf\t1\t0\t/data/");
  for (int i = 0; i < 100; ++i) {
    listing.output.feed(std::string(1'000'000, 'x'));
    CHECK(listing.output.heldBytes() == 0);
  }
  listing.output.feed("\tf\t8\t0\t/data/end of that line");
  listing.output.feed("\nd\t0\t0\t/data/" + std::string(SshOutput::kMaxLineBytes - 12, '/'));
  std::string deep = "\nf\t2\t0\t/data";
  while (deep.size() < SshOutput::kMaxLineBytes - 1) deep += "/d";
  listing.output.feed(deep + "\nf\t4\t0\t/data/x\nPermission denied");
  listing.output.finish();
  CHECK(listing.result.byteCount == 6);
  CHECK(listing.output.linesListed() == 3);
  CHECK(listing.result.skippedFolders == 1);
  CHECK(listing.output.permissionDenied());
  sumTree(listing.result.folders, listing.progress);
  CHECK(toUtf8(filePath(listing.result, listing.result.files.front())) == deep.substr(7));
}

TEST_CASE("progress, cancel and failures of an ssh scan") {
  ScanProgress progress;
  auto played = std::make_unique<Played>();
  std::string many = "VORDA-DF\ndev 8 4 4 50% /\nVORDA-FIND\n";
  for (int i = 0; i < 4'096; ++i) many += "f\t2\t0\t/data/d/" + std::to_string(i) + "\n";
  played->texts = {many.substr(0, many.size() - 9), many.substr(many.size() - 9), "",
                   "f\t1\t0\t/data/more\n"};
  const Secret* given = nullptr;
  played->onSilence = [&progress, &given] {
    CHECK(given->empty()); // it is known to ssh by now
    CHECK(progress.phase == kPhaseReading);
    CHECK(progress.files == 4'096);
    CHECK(progress.bytes == 8'192);
    CHECK(progress.dirs == 2);
    CHECK(progress.texts().method == ScanMethod::ssh);
    CHECK(progress.texts().current == L"/data/d");
    CHECK(progress.texts().status == ScanStatus::sshList);
    progress.cancelRequested = true;
  };
  played->onClose = [&progress] { CHECK(progress.phase == kPhaseSumming); };
  ScanOptions options;
  options.root = L"me@h:/data/";
  ScanResult result;
  SshFacts facts;
  std::string_view failure = kSshPipe;
  const SshStart start = [&](const std::wstring&, const Secret& password, std::string_view& word) {
    CHECK(progress.texts().status == ScanStatus::sshConnect);
    word = failure;
    given = &password;
    return failure.empty() ? std::move(played) : nullptr;
  };
  CHECK_FALSE(sshScan(start, progress, options, Secret("p"), result, facts));
  CHECK(progress.texts().failure == kSshPipe);
  failure = {};
  // A NUL would start another environment variable.
  CHECK_FALSE(sshScan(start, progress, options, Secret({"p\0PATH=", 7}), result, facts));
  CHECK(progress.texts().failure == kSshDenied);
  result.fileCount = 9; // of whatever was there before
  CHECK(sshScan(start, progress, options, Secret("p"), result, facts));
  CHECK(result.fileCount == 4'096);
  CHECK(result.folderCount == 2);
  CHECK(result.seconds < 60);
  CHECK(result.rootPath == L"/data");
  CHECK(facts.host == "me@h");
  CHECK(facts.drive.totalBytes == 8'192);
  CHECK(progress.texts().partial == Partial::cancelled);
}

TEST_CASE("an ssh scan that stops early says why") {
  const std::string mark = "VORDA-FIND\n";
  const std::string file = "f\t1\t0\t/data/a\n";
  const auto outcome = [](std::vector<std::string> texts, std::uint32_t exitCode) {
    return PlayedScan(std::move(texts), exitCode).outcome();
  };
  CHECK(outcome({mark, file}, 0) == "1  closed");
  CHECK(outcome({mark, file}, 1) == "1  closed"); // find could not read some folders
  CHECK(outcome({mark, file}, 255) == "1 broken closed");
  CHECK(outcome({mark, file}, 137) == "1 broken closed");
  CHECK(outcome({mark, file, "f\t1\t0\t/dat"}, 0) == "1 broken closed"); // cut off
  const std::string overlong(SshOutput::kMaxLineBytes + 1, 'x');
  CHECK(outcome({mark, file, overlong}, 0) == "1 broken closed");
  CHECK(outcome({mark, file, "", file}, 255) == "1 cancelled ended closed");
  CHECK(outcome({""}, 255) == "0 cancelled ended closed");
  CHECK(outcome({mark, ""}, 255) == "0 cancelled ended closed");
  // An ssh that goes on writing is ended before it is waited for, and also when memory runs out.
  CHECK(PlayedScan({mark, file, file}, 0, {1, ~0ULL}).outcome() == "sshTooLarge 0  ended closed");
  CHECK(PlayedScan({mark, ""}, 0, {}, true).outcome() == " 0  ended no memory");
  // What was begun before the listing cuts nothing off.
  Listing listing;
  listing.output.feed("VORDA-DF\nVORDA-FI");
  CHECK(listing.output.heldBytes() == 8);
  listing.output.finish();
  CHECK_FALSE(listing.output.cutOff());
}

TEST_CASE("which folder is shown, whatever the root is, and which files are kept") {
  ScanOptions options;
  options.fileListThreshold = 10;
  options.bounds.most = 20;
  ScanResult result;
  ListingTree tree("/data/", options, result);
  CHECK(tree.addFolder("/data/x/y/"));
  CHECK(tree.currentFolder() == L"/data/x/y");
  CHECK(tree.addFolder("/data/"));
  CHECK(tree.currentFolder() == L"/data");
  for (const unsigned bytes : {9U, 10U, 20U, 21U}) tree.addFile("/data/a.b", bytes, 0);
  CHECK(result.files.size() == 2);
  REQUIRE(result.types.size() == 1);
  CHECK(result.types.begin()->second.files == 4);
  ScanResult whole;
  ListingTree all("/", options, whole);
  CHECK(all.addFolder("/x"));
  CHECK(all.addFile("/a", 10, 0));
  CHECK(whole.files[0].folder == 0);
  CHECK(all.currentFolder() == L"/");
  ScanResult one;
  ListingTree file("/a/b/c", options, one);
  CHECK(file.addFile("/a/b/c", 1, 0));
  CHECK(one.rootPath == L"/a/b");
}

TEST_CASE("a host cannot fill the memory") {
  const auto added = [](const ListingLimits& limits, const std::string& start, bool folders) {
    const ScanOptions options = Listing().options;
    ScanResult result;
    ListingTree tree("/data", options, result, limits);
    int count = 0;
    while (count < 100'000 && !tree.full()) {
      const std::string path = start + std::to_string(count);
      if (folders ? tree.addFolder(path) : tree.addFile(path, 1, 0)) ++count;
    }
    CHECK_FALSE(tree.addFolder("/data"));
    CHECK_FALSE(tree.addFile("/data/after", 1, 0));
    return count;
  };
  CHECK(added({500, ~0ULL}, "/data/", false) == 500);
  CHECK(added({500, ~0ULL}, "/data/", true) == 500);
  for (const bool folders : {false, true}) {
    const int few = added({~0ULL, 1 << 20}, "/data/" + std::string(1000, 'x'), folders);
    CHECK((few > 100 && few < 1000));
    // The name of a folder is held twice.
    const std::size_t bytes = 1000 * (sizeof(wchar_t) + (folders ? 1 : 0));
    CHECK(static_cast<std::size_t>(few) * bytes < 1 << 20);
    // Each name a type, or a long way to it.
    const int types = added({~0ULL, 1 << 20}, "/data/a.", folders);
    CHECK((types > 1000 && types < 10'000));
  }
  CHECK(added({~0ULL, 1 << 20}, "/data" + std::string(20'000, '/') + "/d", true) > 1000);
  // A name of a type that is known costs less, and a folder what its two entries take.
  CHECK(added({~0ULL, 0}, "/data/", true) == 0);
  const int ofOneType = added({~0ULL, 1 << 20}, "/data/a", false);
  CHECK(ofOneType * 2 > added({~0ULL, 1 << 20}, "/data/a.", false) * 3);
  const auto ofFolder =
      static_cast<std::size_t>((1 << 20) / added({~0ULL, 1 << 20}, "/data/", true));
  CHECK((ofFolder > 2 * sizeof(FolderEntry) + 80 && ofFolder < 2 * sizeof(FolderEntry) + 125));
}

TEST_CASE("the sum of all sizes stays within 64 bits") {
  Listing listing;
  listing.output.feed("VORDA-FIND\n");
  for (int i = 0; i < 256; ++i)
    listing.output.feed("f\t72057594037927936\t0\t/data/d/" + std::to_string(i) + "\n");
  listing.output.feed("f\t1\t0\t/data/d/small\n");
  listing.output.finish();
  CHECK(listing.result.fileCount == 256);
  CHECK(listing.result.byteCount == 255 * (1ULL << 56U) + 1);
  CHECK(listing.result.skippedFolders == 1);
}

TEST_CASE("search path and environment of ssh") {
  CHECK(absoluteFolders(
            L"C:\\a;;rel;.;\\x;C:x;\"D:\\b;c\";\\\\s\\d;C:/e;..\\x;x\\y;\\xy;\\\\;C:;E:\\f") ==
        std::vector<std::wstring>{L"C:\\a", L"D:\\b;c", L"\\\\s\\d", L"C:/e", L"E:\\f"});
  const auto block = [](std::wstring text) {
    std::replace(text.begin(), text.end(), L'|', L'\0');
    return text;
  };
  const std::wstring own = block(L"=C:=C:\\x|ssh_askpass=old|P(x)=2|P=1|B=1|b=2|Vorda_AskPass=old|"
                                 L"SSH_ASKPASS_REQUIREX=keep|SSH_ASKPASS_REQUIRE=never|zed=||");
  CHECK(askpassEnvironment(own.c_str(), L"C:\\v.exe", Secret("p=\xC3\xA9")).view() ==
        block(L"=C:=C:\\x|B=1|b=2|P=1|P(x)=2|SSH_ASKPASS=C:\\v.exe|SSH_ASKPASS_REQUIRE=force|"
              L"SSH_ASKPASS_REQUIREX=keep|VORDA_ASKPASS=p=\u00E9|zed=||"));
}

TEST_CASE("an ssh job drops its password; its paths cannot be deleted or revealed") {
  App app;
  std::string given;
  app.state.steps.ssh = [&](ScanProgress&, const ScanOptions& options, Secret password,
                            ScanResult& result, SshFacts& facts) {
    given = password.view();
    CHECK(app.state.jobs.all().back()->password.empty());
    facts = {"me@h", {1024, 512, L""}};
    ListingTree tree("/", options, result);
    for (const char* path : {"/b/Data/f", "/b/data/f", "/b/x\\y/f", "/\\srv\\share\\z"}) {
      tree.addFile(path, 3'000'000'000 + given.size(), 0);
    }
    return true;
  };
  app.state.steps.driveFigures = [](const std::wstring&) -> DriveFigures { throw 0; };
  app.post("/api/scan", "path=h%3A%2F&kind=ssh&password=p%C3%A9+%26");
  app.waitUntilDone(1);
  CHECK(given == "p\xC3\xA9 &");
  const std::string result = app.get("/api/result?id=1");
  CHECK(result.find(R"("path":"h:/","method":"","host":"me@h","kind":"ssh")") < 20);
  CHECK(holds(result, R"("volumeSize":1024,"volumeFree":512)"));
  const auto dirs = [&app](const std::string& p) { return app.get("/api/dirs?id=1&p=" + p); };
  CHECK(dirs("/b/data/").starts_with(R"(200 {"path":"/b/data/","s":3000000005,"f":1,)"));
  CHECK(dirs("/b/DATA").find("notScanned") == std::string::npos);
  CHECK(dirs("/b/x%5Cy").find("notScanned") == std::string::npos);
  CHECK(holds(dirs("%5Cb"), "notScanned"));
  const ScanResult& scanned = app.state.jobs.find(1)->result;
  CHECK(scanned.files.size() == 4);
  for (const FileEntry& file : scanned.files) {
    const std::wstring path = filePath(scanned, file);
    CHECK(deleteRefusal(path) == Refusal::notAbsolute);
    CHECK_FALSE(isInsideRoot(L"/", path));
    const std::string told = app.post("/api/delete", "dryrun=1&p=" + toUtf8(path));
    CHECK(holds(told, R"("why":"notabsolute"}],"wouldDelete":[])"));
    app.get("/api/reveal?p=" + toUtf8(path));
  }
  CHECK(app.revealed.empty());
  app.post("/api/scan", "path=h%3A%2F&password=p");
  app.waitUntilDone(2);
  CHECK(app.state.jobs.find(2)->password.empty());
}
