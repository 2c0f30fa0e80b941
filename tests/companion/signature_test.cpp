// Signatures, and kvl-media seal, which makes them.

#include "companion/seal/signature.h"

#include "tests/companion/sealed_world.h"
#include "tests/support/call_filter.h"

namespace kvl::test {
namespace {

constexpr char kPublicKey[] = "RWTVOFDDqbeI5pcJ+Pq9hpZKcwaMSPtVtb8WclziSVCOik12ihXy4ADV";
constexpr char kSignature[] =
    "untrusted comment: signature from minisign secret key\n"
    "RUTVOFDDqbeI5oY9QQG8OW/X5Ch4gL5tyPMWQkR4rJrCJMwHCkbZ7VoD01xdWyqIzEPaKIF7n4dlKSwnx1g99mN1XfX3"
    "lvqBZw4=\n"
    "trusted comment: file:media.manifest\n"
    "lYYXdVg4SKfygIbqH5bDiHqOPVS2v54K43HZWuNnVFVJMWVNoEdroa56yy6u8wezMC4dbW47M9EeIazz3tBWBw==\n";

TEST(Signature, IsGenuineForItsTextOnlyAndWithoutAnyChange) {
  const std::optional<PublicKey> key = PublicKey::From(kPublicKey);
  ASSERT_TRUE(key);
  EXPECT_EQ(WhyNotGenuine(*key, "hello\n", kSignature), "");
  EXPECT_EQ(WhyNotGenuine(*key, "hello", kSignature), "it is not the signature of this manifest");
  EXPECT_EQ(WhyNoSignature(kSignature), "");
  const std::string signature = kSignature;
  std::map<std::string, int> reasons;
  for (std::size_t at = 0; at < signature.size(); ++at) {
    for (int bit = 0; bit < 8; ++bit) {
      std::string other = signature;
      other[at] = static_cast<char>(other[at] ^ (1 << bit));
      ++reasons[WhyNotGenuine(*key, "hello\n", other)];
    }
    ++reasons[WhyNotGenuine(*key, "hello\n", signature.substr(0, at))];
    ++reasons[WhyNotGenuine(*key, "hello\n", std::string(signature).insert(at, "\n"))];
  }
  ++reasons[WhyNotGenuine(*key, "hello\n", signature + "\n")];
  const std::size_t last_line = signature.rfind('\n', signature.size() - 2) + 1;
  EXPECT_EQ(WhyNoSignature(signature.substr(0, last_line) + "AAAA\n"),
            "it is not a signature of minisign");
  EXPECT_THAT(reasons,
              testing::ElementsAre(testing::Key("it is not a signature of minisign"),
                                   testing::Key("it is not the signature of this manifest"),
                                   testing::Key("it was made with another key"),
                                   testing::Key("its comment was changed")));
}

TEST(Signature, MayHaveTheOlderFormat) {
  // minisign -S -l has written it.
  const std::string signature =
      "untrusted comment: signature from minisign secret key\n"
      "RWTVOFDDqbeI5lHfsmbhFH8cHOVExRiTxo6L7CBD74jlEgP6PiP2dEHWQFQxn8obK0+bpz9q9zxFoB0TG8i+1iAeBx3F"
      "L7A3WgY=\n"
      "trusted comment: timestamp:1795353568\tfile:m\n"
      "pdnyHWgenZHrujq5ydbvIU8jBe5GFBoM9prIsmr3JotNqexggjRkC0rGvZh5eFtvucFmWfsl62fR4nlqHyMaAQ==\n";
  EXPECT_EQ(WhyNotGenuine(*PublicKey::From(kPublicKey), "hello\n", signature), "");
}

TEST(PublicKey, IsReadFromItsFileOrItsSecondLineOnly) {
  const std::string key = kPublicKey;
  EXPECT_TRUE(PublicKey::From(key + "\n"));
  EXPECT_TRUE(PublicKey::From("untrusted comment: minisign public key E6\n" + key + "\n"));
  for (const std::string& other :
       {std::string(), key + "=", key.substr(4), "x\n" + key, key + "\n\n", "RW=" + key.substr(3),
        std::string(kSignature), "untrusted comment: " + key, "S" + key.substr(1),
        key.substr(0, key.size() - 4), key + "AAAA"}) {
    EXPECT_FALSE(PublicKey::From(other)) << other;
  }
}

class SealTest : public testing::Test {
 protected:
  void SetUp() override {
    if (!SealedWorld::HasMinisign()) GTEST_SKIP() << "there is no minisign";
    world_.MakeKeys();
    world_.MakeKeys("other");
  }

  Outcome Seal(const Lines& further) const {
    Lines arguments = {"seal"};
    arguments.insert(arguments.end(), further.begin(), further.end());
    return world_.Companion(arguments, {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", world_.Path("tmp")}});
  }

  SealedWorld world_;
};

TEST_F(SealTest, WritesSignaturesThatMinisignAcceptsInEveryLayout) {
  world_.Change("dir tmp");
  for (const std::string layout : {"single", "flat", "sibling", "am"}) {
    SCOPED_TRACE(layout);
    world_.Make(layout);
    world_.Make(layout, {"--sign", world_.Path("key")}, "signed");
    const bool has_own = layout == "sibling" || layout == "am";
    const std::string signatures = has_own ? "2" : "1";
    const Outcome sealed = {0, "Sealed a media with tag T 1, signatures: " + signatures + ".\n",
                            ""};
    EXPECT_EQ(Seal({"media", "--key", "key"}), sealed);
    EXPECT_EQ(Seal({"media", "--key", "key"}), sealed);
    EXPECT_EQ(DescribeTree(world_.Path("signed")), DescribeTree(world_.Path("media")));
    const std::string volumes = layout == "single" ? "1 volume, " : "2 volumes, ";
    EXPECT_THAT(world_.Verify({"{media}", "--key", "{key.pub}"}).out,
                testing::StartsWith("Whole and genuine: " + volumes));
    for (int i = 1; i <= (has_own ? 2 : 1); ++i) {
      const std::string disc = world_.Path(has_own ? "media/" + std::to_string(i) : "media");
      EXPECT_EQ(RunProgram({{"/usr/bin/minisign", "-Vqm", disc + "/media.manifest", "-p",
                             world_.Path("key.pub")}}),
                Outcome{});
    }
    fs::remove_all(world_.Path("media"));
    fs::remove_all(world_.Path("signed"));
  }
  EXPECT_THAT(DescribeTree(world_.Path("tmp")), IsEmpty());
}

TEST_F(SealTest, SaysThatTheMediaIsSealedWhenTheReportIsLost) {
  world_.Change("dir tmp");
  world_.Make("single");
  world_.ExpectRefused(
      world_.Companion({"seal", "media", "--key", "key"},
                       {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", world_.Path("tmp")}},
                       [] { ::dup2(::open("/dev/full", O_WRONLY), STDOUT_FILENO); }),
      "the media was sealed, but the report cannot be written: standard output; check the file or "
      "program that receives it");
  EXPECT_EQ(world_.Verify({"{media}", "--key", "{key.pub}"}).status, 0);
}

TEST_F(SealTest, MakesSignaturesThatVerifyRequiresWithAKeyOnly) {
  world_.Make("sibling");
  const std::string line = ReadFile(world_.Path("key.pub"));
  const std::string key = line.substr(line.find('\n') + 1, 56);
  world_.ExpectVerified({"{media}", "--key", key}, 1,
                        "missing       {media/1/media.manifest.minisig}\n"
                        "missing       {media/2/media.manifest.minisig}\n"
                        "2 problems; read: 15 files, <n> bytes\n");
  world_.Change("dir tmp");
  Seal({"media/1", "--key", "key"});
  Seal({"media/2", "--key", "other"});
  world_.ExpectVerified(
      {"{media}"}, 0,
      "Whole: 2 volumes, 15 files, <n> bytes; not proven genuine: no key was given\n");
  world_.ExpectVerified(
      {"{media}", "--key", key}, 1,
      "not genuine   {media/2/media.manifest.minisig}: it was made with another key\n"
      "1 problem; read: 15 files, <n> bytes\n");
  world_.ExpectVerified({"{media/1}", "--key", key}, 4,
                        "Unharmed and genuine: volume 1 of 2, 12 files, <n> bytes; "
                        "not looked at: volume 2\n");
  world_.Change("file media/2/media.manifest.minisig x");
  world_.ExpectVerified(
      {"{media}"}, 1,
      "not genuine   {media/2/media.manifest.minisig}: it is not a signature of minisign\n"
      "1 problem; read: 15 files, <n> bytes\n");
}

TEST_F(SealTest, LetsVerifyTellTheGenuineManifestFromAnother) {
  world_.Make("sibling", {"--sign", world_.Path("key")});
  world_.Change("file payload/1/a new");
  world_.Make("sibling", {"--sign", world_.Path("other")}, "forged");
  world_.ExpectVerified(
      {"{forged/1}", "{media/2}", "--key", "{key.pub}"}, 1,
      "not genuine   {forged/1/media.manifest.minisig}: it was made with another key\n"
      "other media   {forged/1/media.manifest}: it differs from the manifest of {media/2}\n"
      "2 problems; read: 3 files, <n> bytes; not looked at: volume 1\n");
}

TEST_F(SealTest, RefusesMixedMediaAndOtherSignatures) {
  world_.Make("sibling");
  world_.Make("flat", {}, "flat");
  world_.Change("dir tmp; dir empty");
  Seal({"media/2", "--key", "other"});
  const auto before = DescribeTreeExactly(world_.Path("media"));
  world_.ExpectRefused(
      Seal({"media", "--key", "key"}),
      "the media cannot be sealed: {media/2/media.manifest.minisig}: it is another signature; "
      "remove it first",
      1);
  world_.ExpectRefused(
      Seal({"media", "flat", "--key", "key"}),
      "the media cannot be sealed: {flat}: its manifest differs from that of {media/1}; "
      "name volumes of one media",
      1);
  world_.ExpectRefused(
      Seal({"empty", "--key", "key"}),
      "the media cannot be sealed: {empty/media.manifest}: it is missing; name a volume that "
      "make wrote",
      1);
  EXPECT_EQ(DescribeTreeExactly(world_.Path("media")), before);
  world_.Change("file key x");
  const Outcome seen = Seal({"media/1", "--key", "key"});
  EXPECT_THAT(
      seen.err,
      testing::EndsWith("kvl-media: minisign has not signed the manifest: it ended with status 2; "
                        "correct what it says above\n"));
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(DescribeTreeExactly(world_.Path("media")), before);
}

TEST_F(SealTest, SaysWhyThereIsNoSignature) {
  world_.Make("single");
  SetMode(world_.Directory().Write("bin/minisign",
                                   "#!/bin/sh\nwhile [ \"$1\" != -x ]; do shift; done\n"
                                   "echo text >\"$2\"\n"),
          0755);
  const auto seal_in = [&](const std::string& tmp) {
    return world_.Companion({"seal", "media", "--key", "key"},
                            {{"PATH", "{bin}:/usr/bin:/bin"}, {"TMPDIR", tmp}});
  };
  world_.ExpectRefused(
      seal_in("{.}"),
      "minisign has not written a signature: {bin/minisign}; check which program this is", 1);
  world_.ExpectRefused(
      seal_in("{no}"),
      "no directory to sign in can be made: {no}: No such file or directory; let TMPDIR name a "
      "directory that you can write into",
      1);
}

TEST_F(SealTest, SaysThatASignatureMayNotBeStored) {
  world_.Make("single");
  world_.ExpectRefused(world_.Companion({"seal", "media", "--key", "key"},
                                        {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", world_.Path("tmp")}},
                                        [] { FilterCalls({SYS_syncfs}, SECCOMP_RET_ERRNO | EIO); }),
                       "syncfs - {media} - Input/output error", 1);
}

TEST_F(SealTest, StopsMakeBeforeTheStartScriptsWhenItFails) {
  world_.Change("file bad x");
  const Outcome seen = world_.Companion({"make", "--tag", "T", "--installer", "setup", "--launcher",
                                         "launcher", "--sign", "bad", "payload", "media"},
                                        {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", world_.Path(".")}});
  EXPECT_EQ(seen.status, 1);
  EXPECT_EQ(seen.out, "");
  for (const char* name : {"StartTUI.sh", "1.txt", "media.manifest.minisig"}) {
    EXPECT_FALSE(fs::exists(world_.Path("media") + "/" + name)) << name;
  }
  world_.ExpectRefused(world_.Companion({"make", "--tag", "T", "--installer", "setup", "--launcher",
                                         "launcher", "--sign", "no", "payload", "new"}),
                       "the key is missing or not a regular file: no; name it with --sign");
  EXPECT_FALSE(fs::exists(world_.Path("new")));
}

}  // namespace
}  // namespace kvl::test
