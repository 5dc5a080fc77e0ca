#include "fileops/copy_proof.h"

#include <doctest/doctest.h>

#include <map>
#include <vector>

using namespace vorda;

namespace {

constexpr std::uint64_t kNow = 1'000'000;

struct OnDisk {
  Seen state{SeenKind::file, 5, 70, FileIdentity{1, {1, 0}}, {}};
  std::uint8_t content = 'x';
  bool keepable = true;
  bool looks = true;
  bool readable = true;
  int reads = 0;

  void becomes(std::uint8_t other) {
    ++state.mark;
    content = other;
  }
};

SeenContents contentsOf(std::uint8_t content, std::uint64_t readAtMs) {
  SeenContents contents;
  contents.digest.fill(content);
  contents.readAtMs = readAtMs;
  return contents;
}

class Files final : public FileKeeper {
public:
  std::map<std::wstring, OnDisk> on;
  std::vector<std::pair<std::wstring, KeepFor>> asked;
  int open = 0;

  std::unique_ptr<KeptFile> keep(const std::wstring& path, KeepFor what) override {
    asked.emplace_back(path, what);
    if (!on.at(path).keepable) return nullptr;
    return std::make_unique<File>(*this, on.at(path));
  }

private:
  class File final : public KeptFile {
  public:
    File(Files& files, OnDisk& file) : files_(files), file_(file) { ++files_.open; }
    ~File() override { --files_.open; }
    File(const File&) = delete;
    File& operator=(const File&) = delete;
    std::optional<Seen> look() override {
      return file_.looks ? std::optional(file_.state) : std::nullopt;
    }
    std::optional<SeenContents> read() override {
      ++file_.reads;
      return file_.readable ? std::optional(contentsOf(file_.content, kNow)) : std::nullopt;
    }

  private:
    Files& files_;
    OnDisk& file_;
  };
};

struct World {
  Files files;
  Expected expected;

  explicit World(bool withCopy = true) {
    files.on[L"go"] = {};
    files.on[L"stay"].state.identity = FileIdentity{1, {2, 0}};
    expected.seen = files.on[L"go"].state;
    expected.seen->contents = contentsOf('x', kNow);
    if (!withCopy) return;
    expected.keep = L"stay";
    expected.keepSeen = files.on[L"stay"].state;
    expected.keepSeen->contents = contentsOf('x', kNow);
  }

  OnDisk& go() { return files.on[L"go"]; }
  OnDisk& stay() { return files.on[L"stay"]; }

  // "yes" or "no", and how often each file was read.
  std::string outcome() {
    CopyProof proof(files, kNow);
    const bool proven = proof.prove(L"go", expected);
    return (proven ? "yes " : "no ") + std::to_string(go().reads) + std::to_string(stay().reads);
  }
};

struct Row {
  const char* what;
  const char* outcome;
  void (*change)(World&);
};

void check(const std::vector<Row>& rows, bool withCopy) {
  for (const Row& row : rows) {
    CAPTURE(row.what);
    World world(withCopy);
    row.change(world);
    CHECK(world.outcome() == row.outcome);
  }
}

} // namespace

TEST_CASE("contents that were seen count for a minute, while the file looks the same") {
  const std::vector<Row> rows = {
      {"as it was", "yes 00", [](World&) {}},
      {"a minute ago", "yes 00",
       [](World& one) { one.expected.seen->contents->readAtMs = kNow - kReadIsFreshMs; }},
      {"longer ago", "yes 10",
       [](World& one) { one.expected.seen->contents->readAtMs = kNow - kReadIsFreshMs - 1; }},
      {"in the future", "yes 10",
       [](World& one) { one.expected.seen->contents->readAtMs = kNow + 1; }},
      {"another size", "yes 10", [](World& one) { ++one.go().state.bytes; }},
      {"another time", "yes 10", [](World& one) { ++one.go().state.mark; }},
      {"another file", "yes 10", [](World& one) { one.go().state.identity->volume = 9; }},
      {"another kind", "yes 10", [](World& one) { one.expected.seen->kind = SeenKind::link; }},
      {"other contents", "no 10", [](World& one) { one.go().becomes('y'); }},
      {"cannot be read", "no 10",
       [](World& one) {
         ++one.go().state.mark;
         one.go().readable = false;
       }},
      {"cannot be kept", "no 00", [](World& one) { one.go().keepable = false; }},
      {"is gone once kept", "no 00", [](World& one) { one.go().looks = false; }},
  };
  check(rows, false);
}

TEST_CASE("a copy goes only while an equal one stays") {
  const std::vector<Row> rows = {
      {"as they were", "yes 00", [](World&) {}},
      {"different when they were seen", "no 00",
       [](World& one) { one.expected.keepSeen->contents->digest.fill('y'); }},
      {"nothing seen of the one that stays", "yes 11",
       [](World& one) { one.expected.keepSeen.reset(); }},
      {"nothing seen of the one that goes", "yes 11",
       [](World& one) { one.expected.seen.reset(); }},
      {"the one that stays has changed", "no 11", [](World& one) { one.stay().becomes('y'); }},
      {"another size", "no 00", [](World& one) { ++one.stay().state.bytes; }},
      {"both changed alike", "no 11",
       [](World& one) {
         one.go().becomes('y');
         one.stay().content = 'y';
       }},
      {"both changed alike, unseen", "yes 11",
       [](World& one) {
         one.expected.seen->contents.reset();
         one.go().content = one.stay().content = 'y';
       }},
      {"the one that stays cannot be read", "no 11",
       [](World& one) {
         ++one.stay().state.mark;
         one.stay().readable = false;
       }},
      {"the one that stays cannot be kept", "no 00",
       [](World& one) { one.stay().keepable = false; }},
      {"an empty one that stays cannot be kept", "no 00",
       [](World& one) {
         one.go().state.bytes = 0;
         one.stay().keepable = false;
       }},
      {"two names of one file", "no 00",
       [](World& one) { one.stay().state.identity = one.go().state.identity; }},
      {"the same path, on a drive without identities", "no 00",
       [](World& one) {
         one.go().state.identity.reset();
         one.expected.keep = L"go";
       }},
      {"two paths, on a drive without identities", "yes 11",
       [](World& one) {
         one.go().state.identity.reset();
         one.stay().state.identity.reset();
       }},
  };
  check(rows, true);
}

TEST_CASE("files are kept once, read once, and until they are let go") {
  World world;
  world.files.on[L"go2"].state.identity = FileIdentity{1, {3, 0}};
  world.expected.seen.reset();
  CopyProof proof(world.files, kNow);
  CHECK(proof.prove(L"go", world.expected));
  CHECK(proof.prove(L"go2", world.expected));
  CHECK(world.stay().reads == 1);
  CHECK(world.files.asked ==
        std::vector<std::pair<std::wstring, KeepFor>>{
            {L"go", KeepFor::deletion}, {L"stay", KeepFor::good}, {L"go2", KeepFor::deletion}});
  CHECK(world.files.open == 3);
  proof.release();
  CHECK(world.files.open == 0);
}

TEST_CASE("a proven file is still the one at its path") {
  const std::vector<std::pair<bool, void (*)(World&, Seen&)>> rows = {
      {true, [](World&, Seen&) {}},
      // Identities of a path and of an open file are told by different calls.
      {true, [](World&, Seen& now) { now.identity.reset(); }},
      {false, [](World&, Seen& now) { now.kind = SeenKind::link; }},
      {false, [](World&, Seen& now) { ++now.bytes; }},
      {false, [](World&, Seen& now) { ++now.mark; }},
      {false, [](World& one, Seen&) { one.go().looks = false; }},
      {false,
       [](World& one, Seen& now) {
         ++one.go().state.mark;
         ++now.mark;
       }},
  };
  for (const auto& [good, change] : rows) {
    World world;
    CopyProof proof(world.files, kNow);
    REQUIRE(proof.prove(L"go", world.expected));
    Seen now = world.go().state;
    change(world, now);
    CHECK(proof.isStill(L"go", now) == good);
    CHECK_FALSE(proof.isStill(L"other", now));
    CHECK_FALSE(proof.isStill(L"stay", world.stay().state)); // not one that may go
    proof.release();
    CHECK_FALSE(proof.isStill(L"go", now));
  }
  World world;
  world.go().keepable = false;
  CopyProof proof(world.files, kNow);
  CHECK_FALSE(proof.prove(L"go", world.expected));
  CHECK_FALSE(proof.isStill(L"go", world.go().state));
}
