// kvl-media make and the symbolic links of its payload: kept, followed or refused.

#include "companion/seal/manifest.h"
#include "insio/open_directory.h"
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

constexpr char kPlainInstaller[] = "file setup #!/bin/sh\\n; ";

/// A library with the usual links, and a link to a directory.
const std::string kLibrary =
    std::string(kPlainInstaller) +
    "file payload/lib/x.so.1.2 library; link payload/lib/x.so.1 x.so.1.2; "
    "link payload/lib/x.so x.so.1; link payload/lib64 lib; link payload/bin/tool ../lib64/./x.so";

std::vector<ManifestLink> LinksOf(const CheckWorld& world, const std::string& directory,
                                  std::size_t volume = 1) {
  return ParseManifest(ReadFile(world.Path(directory + "/media.manifest")))
      .volumes.at(volume - 1)
      .links;
}

TEST(PayloadLinks, AreKeptAndListedInTheManifest) {
  const CheckWorld world(kLibrary);
  world.ExpectMade(world.MakeMedia(), "'{media}");
  EXPECT_THAT(DescribeTree(world.Path("media/payload/1")),
              ElementsAre("d 755 bin", "d 755 lib", "f 644 lib/x.so.1.2 = library",
                          "l bin/tool -> ../lib64/./x.so", "l lib/x.so -> x.so.1",
                          "l lib/x.so.1 -> x.so.1.2", "l lib64 -> lib"));
  EXPECT_THAT(LinksOf(world, "media"),
              ElementsAre(ManifestLink{"payload/1/bin/tool", "../lib64/./x.so"},
                          ManifestLink{"payload/1/lib/x.so", "x.so.1"},
                          ManifestLink{"payload/1/lib/x.so.1", "x.so.1.2"},
                          ManifestLink{"payload/1/lib64", "lib"}));
  const KVLInsIO::OpenDirectory made(world.Path("media/payload/1")), payload(world.Path("payload"));
  EXPECT_EQ(made.Look("lib64").modified, payload.Look("lib64").modified);
}

TEST(PayloadLinks, AreRefusedTogetherIfTheyLeadToNothingInThePayload) {
  const CheckWorld world(
      kLibrary +
      "; file outside text; link payload/absolute /bin/sh; link payload/gone no; "
      "link payload/lib/out ../../outside; link payload/round/a b; "
      "link payload/round/b a; link payload/file lib/x.so.1.2/; "
      "link payload/by/name ../../payload/lib; "
      "link payload/through lib64/../../outside; link payload/well lib/../lib; "
      "link payload/root /lib; link payload/up lib/../../x; link payload/via root");
  world.ExpectRefusedAndUntouched(
      {},
      "links are absolute, lead out of the payload or to nothing in it: "
      "absolute -> /bin/sh, by/name -> ../../payload/lib, file -> lib/x.so.1.2/, gone -> no, "
      "lib/out -> ../../outside, root -> /lib, round/a -> b, round/b -> a, "
      "through -> lib64/../../outside, up -> lib/../../x, via -> root; "
      "correct them, remove them, or use --links follow");
}

TEST(PayloadLinks, MayLeadThrough40Links) {
  CheckWorld world(std::string(kPlainInstaller) + "file payload/0 x");
  const auto add = [&](int i) {
    world.Change("link payload/" + std::to_string(i) + " " + std::to_string(i - 1));
  };
  for (int i = 1; i <= 40; ++i) add(i);
  EXPECT_EQ(ReadFile(world.Path("payload/40")), "x");
  world.ExpectMade(world.MakeMedia(), "'{media}");
  add(41);
  fs::remove_all(world.Path("media"));
  world.ExpectRefusedAndUntouched(
      {},
      "links are absolute, lead out of the payload or to nothing in it: 41 -> 40; correct them, "
      "remove them, or use --links follow");
}

/// The links lead through both volumes, as if these lay in one directory.
TEST(PayloadLinks, MayLeadToAnotherVolume) {
  struct Row {
    std::string layout, first, second;
  };
  for (const Row& row : {Row{"flat", "media", "media"}, Row{"sibling", "media/1", "media/2"},
                         Row{"am", "media/1/media/1", "media/2/media/2"}}) {
    SCOPED_TRACE(row.layout);
    const CheckWorld world(std::string(kPlainInstaller) +
                           "file payload/1/lib/x library; link payload/1/y bin/x; "
                           "link payload/2/bin/x ../lib64/./x; link payload/2/lib64 lib");
    const Outcome seen = world.MakeMedia({"--presorted", "--layout", row.layout});
    world.ExpectMade(seen, "'{" + row.first + "}", row.layout, 2);
    const std::string below = row.layout == "am" ? "media/2/payload/2/" : "payload/2/";
    EXPECT_THAT(LinksOf(world, row.layout == "am" ? "media/1" : row.first, 2),
                ElementsAre(ManifestLink{below + "bin/x", "../lib64/./x"},
                            ManifestLink{below + "lib64", "lib"}));
  }
}

TEST(PayloadLinks, AreRefusedIfAnotherVolumeHasTheirName) {
  for (const std::string other : {"dir payload/1/d", "file payload/1/d", "link payload/1/d e"}) {
    SCOPED_TRACE(other);
    CheckWorld(std::string(kPlainInstaller) + other + "; link payload/2/d e; dir payload/2/e")
        .ExpectRefusedAndUntouched(
            {"--presorted"},
            "a link of one volume has the name of an entry on another: d; rename one of them");
  }
}

TEST(PayloadLinks, AreKeptInInst) {
  const CheckWorld world(std::string(kPlainInstaller) +
                         "dir payload; file needs/common/a a; link needs/common/b a");
  world.ExpectMade(world.MakeMedia({"--inst", "needs"}), "'{media}");
  EXPECT_THAT(DescribeTree(world.Path("media/inst/common")),
              ElementsAre("f 644 a = a", "l b -> a"));
  EXPECT_THAT(LinksOf(world, "media"), ElementsAre(ManifestLink{"inst/common/b", "a"}));
}

TEST(PayloadLinks, AreReplacedByCopiesWithLinksFollow) {
  const CheckWorld world(std::string(kPlainInstaller) +
                         "file outside/program #!/bin/sh\\n; mode 755 outside/program; "
                         "file outside/deep/file text; link outside/deep/again file; "
                         "link payload/all ../outside; link payload/program all/program");
  world.ExpectMade(world.MakeMedia({"--links", "follow"}), "'{media}");
  EXPECT_THAT(DescribeTree(world.Path("media/payload/1")),
              ElementsAre("d 755 all", "d 755 all/deep", "f 644 all/deep/again = text",
                          "f 644 all/deep/file = text", "f 755 all/program = #!/bin/sh\n",
                          "f 755 program = #!/bin/sh\n"));
  EXPECT_THAT(LinksOf(world, "media"), IsEmpty());
}

TEST(PayloadLinks, AreNotFollowedToNothingOrInACircle) {
  for (const auto& [steps, line] : std::map<std::string, std::string>{
           {"; link payload/gone no",
            "a link leads to nothing: payload/gone; remove it, or let it lead elsewhere"},
           {"; link payload/self self",
            "a link leads to nothing: payload/self; remove it, or let it lead elsewhere"},
           {"; link payload/lib/up ..",
            "a link leads back to a directory that contains it: payload/lib/up/lib; remove it, or "
            "let it lead elsewhere"},
           {"; link payload/lib/here .",
            "a link leads back to a directory that contains it: payload/lib/here; remove it, or "
            "let it lead elsewhere"},
           {"; pipe p; link payload/pipe ../p",
            "a pipe, socket or device cannot go onto a media: payload/pipe; remove it"}}) {
    SCOPED_TRACE(steps);
    CheckWorld(kLibrary + steps).ExpectRefusedAndUntouched({"--links", "follow"}, line);
  }
  EXPECT_EQ(CheckWorld(kLibrary).MakeMedia({"--links", "tear"}),
            (Outcome{2, "", "kvl-media: --links: tear not in {keep,follow} (see --help)\n"}));
}

}  // namespace
}  // namespace kvl::test
