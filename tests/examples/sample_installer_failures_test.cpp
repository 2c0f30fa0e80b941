// Failures of the sample installer: its messages, its status, and the files that it leaves.

#include "tests/examples/sample_world.h"
#include "tests/insio/surroundings.h"

namespace kvl::test {
namespace {

std::string Says(const std::string& text) {
  return "sample-installer: " + text + "\n";
}

std::string SaysMissing(const std::string& volume) {
  return says::Staged() + Says("volume " + volume + " is missing; the installation is incomplete");
}

std::string Asks(const std::string& volume, const std::string& directory) {
  return "Volume " + volume + " of SAMPLE-1 is expected in: " + directory +
         " (press Enter when it is there)\n";
}

class SampleInstallerFails : public testing::Test, protected SampleWorld {};

TEST_F(SampleInstallerFails, WithStatus3WhenAVolumeDoesNotCome) {
  struct Row {
    std::string name;
    StartPlan plan;
    int asks = 1;
  };
  Media({.volumes = 3});
  Remove("media/3");
  Media({.volumes = 3, .tag = "OTHER", .directory = "other"});
  for (const auto& [name, plan, asks] : std::vector<Row>{
           {"nobody answers", {}},
           {"two answers", {.input = "\n\n"}, 3},
           {"an answer without a line feed", {.input = "no line feed"}},
           {"a variable of another media", {.env = {{"KVLAdmInstVolumePath_3", "{other/3}"}}}}}) {
    SCOPED_TRACE(name);
    Remove("target");
    std::string questions;
    for (int i = 0; i < asks; ++i) questions += Asks("3", "{media/3}");
    ExpectInstallation("media/1",
                       {3, says::Volumes("3", {"{media/1}", "{media/2}"}), questions,
                        says::Missing() + SaysMissing("3")},
                       {.volumes = {"media/1", "media/2"}, .of = 3}, plan);
  }
}

TEST_F(SampleInstallerFails, WithoutWritingOutsideWhenTheManifestIsMissingOrHostile) {
  Media();
  const std::string manifest = Path("media/media.manifest"), whole = ReadFile(manifest);
  const auto with = [&whole](const std::string& lines) {
    return Replaced(whole, "link payload/1/bin/sample-tool\tsample-tool-1\n", lines);
  };
  const std::string line = "invalid line in a list of checksums or in media.manifest: ";
  for (const auto& [contents, last_line] : std::vector<std::pair<std::string, std::string>>{
           {"", "missing or damaged: {media/media.manifest}"},
           {whole.substr(0, whole.size() - 2), "missing or damaged: {media/media.manifest}"},
           {Replaced(whole, "volume 1 ", "volume 2 "), "volume 1 is damaged: {media}"}}) {
    SCOPED_TRACE(contents);
    Remove("target");
    Directory().Write("media/media.manifest", contents);
    ExpectFailure("media", {"--target", "{target}"}, 4, last_line);
    EXPECT_EQ(DescribeTree(Path("target")), TreeOf({.of = 1}));
  }
  for (const std::string refused :
       {"link payload/1/a\t../out", "link payload/1/a\tb/../../out", "link payload/1/a\t/out",
        "link payload/1/a\t", "link payload/1/a", "link payload/1/a\tb\tc",
        "link payload/1/../a\tb", "link payload/1/d/..\tb", "link payload/1//a\tb",
        "link payload/1/a\\\tb", "link payload/1/a\\nb\tc", "link payload/1/a\t\\r",
        "link payload/1/a\t\\0157", "link payload/1/a\t.\\", "directory payload/1/../out",
        "directory payload/1/out\\n", "directory payload/1/d\td"}) {
    SCOPED_TRACE(refused);
    Remove("target");
    Directory().Write("media/media.manifest", with(refused + "\n"));
    ExpectFailure("media", {"--target", "{target}"}, 4, line + refused);
    EXPECT_EQ(DescribeTree(Path("target")), TreeOf({.of = 1}));
  }
}

TEST_F(SampleInstallerFails, WithoutWritingThroughALinkOfTheMedia) {
  struct Row {
    std::string lines;
    int status;
    std::string last_line;
  };
  Media();
  const std::string manifest = Path("media/media.manifest"), whole = ReadFile(manifest);
  const std::string damaged = Says("the installation is damaged: {target}");
  const auto has = [](const std::string& path) {
    return Says("the target already has an entry of this name: {target/" + path + "}");
  };
  for (const auto& [lines, status, last_line] :
       std::vector<Row>{{"link payload/1/a\tshare\nlink payload/1/a/evil\tb\n", 6, has("a")},
                        {"link payload/1/a\tshare\ndirectory payload/1/a/evil\n", 6, has("a")},
                        {"link payload/1/bin\tshare\n", 6, has("bin")},
                        {"link payload/1\tshare/x\n", 0, ""},
                        {"link payload/1/...\t.\nlink payload/1/a\t.../../out\n", 4, damaged},
                        {"link payload/1/bin/b\t..\nlink payload/1/a\tbin/b/..\n", 4, damaged},
                        {"link payload/1/a\tb\nlink payload/1/b\ta\n", 4, damaged},
                        {"link payload/1/a\tgone/b\n", 4, damaged}}) {
    SCOPED_TRACE(lines);
    Remove("target");
    Directory().Write("media/media.manifest",
                      Replaced(whole, "link payload/1/bin/sample-tool\tsample-tool-1\n", lines));
    const auto before = DescribeTreeExactly(Path("."));
    const Outcome seen = Start("media", {"--target", "{target}"});
    EXPECT_EQ(seen.status, status);
    EXPECT_THAT(seen.err, testing::EndsWith(Text(last_line)));
    EXPECT_FALSE(fs::exists(Path("target/share/evil")));
    EXPECT_EQ(Start("media", {"-SoftMgt", "-Rollback", "--target", "{target}"}).status, 0);
    Remove("target");
    EXPECT_EQ(DescribeTreeExactly(Path(".")), before);
  }
}

TEST_F(SampleInstallerFails, WithStatus4WhenAVolumeHasTheManifestOfAnotherRelease) {
  Media({.layout = "sibling"});
  Media({.layout = "sibling", .volumes = 3, .directory = "later"});
  Remove("media/2");
  fs::rename(Path("later/2"), Path("media/2"));
  ExpectFailure("media/1", {"--target", "{target}"}, 4,
                "the manifest differs from that of the previous volumes: {media/2/media.manifest}");
  EXPECT_EQ(DescribeTree(Path("target")), TreeOf({.volumes = {"media/1"}, .of = 2}));
}

TEST_F(SampleInstallerFails, WithStatus3WithoutAVolumeOfAnOuterSet) {
  const std::string first = "media/1/media/1";
  Media({.layout = "am"});
  Remove("media/2");
  ExpectInstallation(first,
                     {3, says::Volumes("2", {"{" + first + "}"}) + says::FoundAm("1", "{media/1}"),
                      Asks("2", "{media/2/media/2}"), SaysMissing("2")},
                     {.volumes = {first}, .of = 2});
}

TEST_F(SampleInstallerFails, WithStatus3BelowAMarkerOfAnOuterSet) {
  Media({.layout = "sibling", .directory = "outer/4"});
  Remove("outer/4/2");
  Make("outer/4: 4=OUTER");
  ExpectInstallation("outer/4/1",
                     {3, says::Volumes("2", {"{outer/4/1}"}) + says::FoundAm("4", "{outer/4}"),
                      Asks("2", "{outer/5/2}"), SaysMissing("2")},
                     {.volumes = {"outer/4/1"}, .of = 2});
}

TEST_F(SampleInstallerFails, WithStatus3WhenAVolumeIsOfAnotherMedia) {
  struct Row {
    std::string layout, first, marker, warning;
  };
  const std::vector<Row> rows = {
      {"flat", "media", "media", says::WrongBeside("2", "OTHER", "SAMPLE-1")},
      {"sibling", "media/1", "media/2", says::Wrong("Volume 2", "OTHER", "{media/2}", "SAMPLE-1")},
      {"am", "media/1/media/1", "media/2/media/2",
       says::Wrong("Volume 2", "OTHER", "{media/2/media/2}", "SAMPLE-1")},
  };
  for (const Row& row : rows) {
    SCOPED_TRACE(row.layout);
    for (const char* name : {"media", "target"}) Remove(name);
    Media({.layout = row.layout});
    Make(row.marker + ": 2=OTHER");
    const Outcome outcome = Start(row.first, {"--target", "{target}"});
    EXPECT_EQ(outcome.status, 3);
    EXPECT_EQ(outcome.err, Text(row.warning + SaysMissing("2")));
    EXPECT_EQ(DescribeTree(Path("target")), TreeOf({.volumes = {row.first}, .of = 2}));
  }
}

/// Makes a media of two volumes, the second of which a test damages again and again.
class SampleInstallerRefuses : public SampleInstallerFails {
 protected:
  SampleInstallerRefuses() {
    Media({.layout = "sibling"});
    fs::copy(Path("media/2"), Path("whole volume 2"), fs::copy_options::recursive);
  }

  /// Expects that the installer installs volume 1 and refuses volume 2 with these messages and
  /// status 4. Then restores volume 2.
  void ExpectRefusal(const std::string& messages) const {
    ExpectInstallation("media/1", {4, says::Volumes("2", {"{media/1}", "{media/2}"}), "", messages},
                       {.volumes = {"media/1"}, .of = 2});
    for (const char* name : {"target", "media/2"}) Remove(name);
    fs::copy(Path("whole volume 2"), Path("media/2"), fs::copy_options::recursive);
  }
};

TEST_F(SampleInstallerRefuses, AVolumeThatIsDamagedOrHasNoChecksums) {
  const std::string tool = "media/2/payload/2/bin/sample-tool-2";
  const std::string table = "media/2/payload/2/share/sample suite/volume 2/table.dat";
  const std::string list = "media/2/2.sha256";
  const std::string wrong_tool = Says("wrong or missing: {" + tool + "}");
  const std::string wrong_table = Says("wrong or missing: {" + table + "}");
  const std::string damaged = Says("volume 2 is damaged: {media/2}");

  Directory().Write(tool, "#!/bin/sh\n");
  ExpectRefusal(wrong_tool + damaged);

  std::string one_bit_changed = ReadFile(Path(table));
  one_bit_changed[one_bit_changed.size() / 2] ^= 1;
  Directory().Write(table, one_bit_changed);
  ExpectRefusal(wrong_table + damaged);

  for (const std::string& name : {tool, table}) Remove(name);
  Directory().MakeDir(table);
  ExpectRefusal(wrong_tool + wrong_table + damaged);

  Remove(list);
  ExpectRefusal(damaged);
  Directory().Write(list, "");
  ExpectRefusal(damaged);
  Directory().Write(list, std::string(64, '0') + "  2.txt\n");
  ExpectRefusal(damaged);
}

TEST_F(SampleInstallerRefuses, AListOfChecksumsWithAnInvalidLine) {
  const std::string digest(64, 'a'), sum = digest + "  ";
  for (const std::string& line :
       {sum + "../x", sum + "payload/2/../x", sum + "payload/2/..", sum + "/x", sum,
        sum + "./payload/2/x", sum + "payload/2/", sum + "payload/2//x", digest, digest + " x",
        digest + " *x", sum.substr(1) + "x", "0" + sum + "x", "A" + sum.substr(1) + "x",
        "\\" + sum + "payload/2/a\\nb", "\\" + sum + "payload/2/a\\", std::string("garbage")}) {
    SCOPED_TRACE(line);
    Directory().Write("media/2/2.sha256", line + "\n");
    ExpectRefusal(Says("invalid line in a list of checksums or in media.manifest: " + line));
  }
}

TEST_F(SampleInstallerFails, WithStatus4WhenAnInstalledFileIsDamaged) {
  const std::vector<std::pair<std::string, std::string>> rows = {
      {"for last; do :; done; echo cut >\"$last\"",
       Says("the copy is damaged: {target/bin/sample-tool-1}")},
      {"PATH=/usr/bin:/bin cp \"$@\"; case $3 in *.dat) echo >>\"$TARGET/bin/sample-tool-1\" ;; "
       "esac",
       Says("wrong or missing: {target/bin/sample-tool-1}") +
           Says("the installation is damaged: {target}")},
  };
  Media();
  for (const auto& [cp, said] : rows) {
    SCOPED_TRACE(cp);
    Remove("target");
    SetMode(Directory().Write("bin/cp", "#!/bin/sh\n" + cp + "\n"), 0755);
    const Outcome outcome =
        Start("media", {"--target", "{target}"},
              {.env = {{"PATH", "{bin}:/usr/bin:/bin"}, {"TARGET", "{target}"}}});
    EXPECT_EQ(outcome.status, 4);
    EXPECT_EQ(outcome.err, Text(said));
    EXPECT_EQ(ReadFile(Path("target/.sample-suite/state")), "incomplete\n");
  }
}

TEST_F(SampleInstallerFails, WithStatus5WhereNoDirectoryCanBeMade) {
  Media();
  Directory().Write("file", "kept");
  Directory().Link("dangling", "nowhere/at/all");
  const auto before = DescribeTreeExactly(Path("."));
  for (const std::string target : {"{}/file", "{}/file/below", "{}/dangling"}) {
    ExpectFailure("media", {"--target", target}, 5, kCannotWriteInto + target);
  }
  EXPECT_EQ(DescribeTreeExactly(Path(".")), before);
}

TEST_F(SampleInstallerFails, WithStatus5WithoutThePermissionToWrite) {
  const auto give_up = [] {
    GiveUpPermissions();
    return 0;
  };
  if (RunIsolated(give_up).status != 0) GTEST_SKIP() << "the superuser keeps its powers here";
  Media();
  SetMode(Directory().MakeDir("target"), 0555);
  ExpectFailure("media", {"--target", "{target}"}, 5, kCannotWriteInto + std::string("{target}"),
                {.before = GiveUpPermissions});
  EXPECT_THAT(DescribeTree(Path("target")), IsEmpty());
}

TEST_F(SampleInstallerFails, WithStatus6WhenTheTargetHasAnInstallation) {
  Media();
  Start("media", {"--target", "{target}"});
  for (const std::string state : {"installed", "committed", "incomplete"}) {
    Directory().Write("target/.sample-suite/state", state + "\n");
    const auto before = DescribeTreeExactly(Path("."));
    Expect("media", {"--target", "{target}"},
           {6, SaysInstalled({.of = 1}),
            Says("the target already has an installation (" + state + "): {target}")});
    EXPECT_EQ(DescribeTreeExactly(Path(".")), before);
  }
}

TEST_F(SampleInstallerFails, WithStatus6WhenTheTargetHasAnEntryOfANeededName) {
  enum class Kind { kFile, kDanglingLink, kDirectory };
  Media();
  for (const auto& [name, kind] : {std::pair("bin/sample-tool-1", Kind::kFile),
                                   {"bin/sample-tool-1", Kind::kDanglingLink},
                                   {"share/sample suite/volume 1/table.dat", Kind::kDirectory},
                                   {"bin", Kind::kFile},
                                   {"share/sample suite", Kind::kDanglingLink}}) {
    const std::string obstacle = std::string("target/") + name;
    SCOPED_TRACE(obstacle);
    Remove("target");
    if (kind == Kind::kFile) Directory().Write(obstacle, "kept");
    if (kind == Kind::kDanglingLink) Directory().Link(obstacle, "nowhere");
    if (kind == Kind::kDirectory) Directory().MakeDir(obstacle);
    const auto before = DescribeTree(Path("target"));
    ExpectFailure("media", {"--target", "{target}"}, 6,
                  "the target already has an entry of this name: {" + obstacle + "}");
    EXPECT_EQ(ReadFile(Path("target/.sample-suite/state")), "incomplete\n");
    // A rollback leaves the obstacle alone.
    EXPECT_EQ(Start("media", {"-SoftMgt", "-Rollback", "--target", "{target}"}).status, 0);
    EXPECT_EQ(DescribeTree(Path("target")), before);
  }
}

TEST_F(SampleInstallerFails, WithStatus2WhenTheArgumentsMakeNoSense) {
  const std::string needs_directory = " needs a directory; write one that begins with - as ./-...";
  const std::string action = "Radio_KVLSoftwareMgtCheck?";
  const std::vector<std::pair<std::vector<std::string>, std::string>> rows = {
      {{}, "--target DIR is missing"},
      {{"--var", "a=b"}, "--target DIR is missing"},
      {{"--target"}, "--target" + needs_directory},
      {{"--target", ""}, "--target" + needs_directory},
      {{"--target", "--var", "a=b"}, "--target" + needs_directory},
      {{"--target", "{target}", "-CDpath"}, "-CDpath" + needs_directory},
      {{"--target", "{target}", "word"}, "unknown argument: word"},
      {{"--target", "{target}", "--Target"}, "unknown argument: --Target"},
      {{"--target", "{target}", "--uninst"}, "unknown argument: --uninst"},
      {{"--target", "{target}", "--var"}, "--var needs NAME=VALUE"},
      {{"--target", "{target}", "--mgt"}, "--mgt needs an action; give one with --var"},
      {{"--target", "{target}", "--mgt", "{target}"}, "--mgt needs an action; give one with --var"},
      {{"--target", "{target}", "--var", action + "Check=true"},
       "unknown action: " + action + "Check=true"},
      {{"--target", "{target}", "--var", action + "List=false"},
       "unknown action: " + action + "List=false"},
  };
  Media();
  const auto before = DescribeTreeExactly(Path("."));
  for (const auto& [arguments, line] : rows) {
    SCOPED_TRACE(testing::PrintToString(arguments));
    Expect("media", arguments, {2, "", Says(line)});
  }
  EXPECT_EQ(DescribeTreeExactly(Path(".")), before);
}

TEST_F(SampleInstallerFails, WithStatus2WhenItIsStartedWithoutAMedia) {
  const Outcome outcome =
      RunProgram({{SourceFile("examples/sample-installer"), "--target", Path("target")},
                  {{"PATH", "/usr/bin:/bin"}}});
  ExpectOutcome(outcome, {2, "", Says("-CDpath DIR is missing")});
  EXPECT_FALSE(fs::exists(Path("target")));
}

}  // namespace
}  // namespace kvl::test
