// How kvl-media make ends: with a check of what it has made.
#include <elf.h>

#include "companion/calls/last_words.h"
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

constexpr char kFirstLines[] =
    "Made a media with tag T 1, layout single, volumes: 1.\nFirst volume: '{media}'\n";
constexpr char kBroken[] =
    "kvl-media: the media cannot be started; correct what was found, remove it and run make "
    "again\n";

class MakeAtItsEnd : public testing::Test {
 protected:
  CheckWorld world_{"file setup #!/bin/sh\\n; file payload/file x"};
};

TEST(LastWords, AreSaidOnlyAsLongAsTheyLive) {
  const auto die = [](bool is_over) {
    return RunIsolated([is_over] {
      auto words = std::make_optional<LastWords>("words\n", "/");
      if (is_over) words.reset();
      return ::raise(SIGTERM);
    });
  };
  EXPECT_EQ(die(/*is_over=*/false), (Outcome{-SIGTERM, "", "words\n"}));
  EXPECT_EQ(die(/*is_over=*/true), (Outcome{-SIGTERM, "", ""}));
}

TEST_F(MakeAtItsEnd, SaysWhatIsWrongWithAMediaThatCannotBeStarted) {
  const std::string programs = "error      {media}/inst/linux/code/bin/";
  const std::string wrong_machine =
      programs +
      "kvl-launcher: this machine cannot run the launcher; put the launcher for this "
      "machine there\n";
  struct Row {
    std::string change, findings;
  };
  for (const Row& row : std::vector<Row>{
           {"file setup", programs + "setup: the installer is empty; copy it again\n"},
           {"file setup #!/bin/sh\\r\\n",
            programs + "setup: its first line has a carriage return; save it with line feeds "
                       "alone\n"},
           {"file setup #!/missing\\n",
            programs + "setup: its first line names a program that is missing or cannot be "
                       "executed: /missing; correct the line, or install that program\n"},
           {"file starter text", wrong_machine},
           {"file starter #!/missing\\n; file setup",
            programs + "setup: the installer is empty; copy it again\n" + programs +
                "kvl-launcher: its first line names a program that is missing or cannot be "
                "executed: /missing; correct the line, or install that program\n"},
       }) {
    SCOPED_TRACE(row.change);
    CheckWorld world("file setup #!/bin/sh\\n; file payload/file x; file starter #!/bin/sh\\n");
    world.Change(row.change);
    EXPECT_EQ(world.MakeMedia({"--launcher", "starter"}),
              (Outcome{1, world.Text(kFirstLines + row.findings), kBroken}));
  }
}

/// It is fine for whoever gets it.
TEST_F(MakeAtItsEnd, DoesNotSayHowToStartHereWhatStartsElsewhere) {
  Elf64_Ehdr header = {};
  std::memcpy(header.e_ident, ELFMAG, SELFMAG);
  header.e_ident[EI_CLASS] = ELFCLASS64;
  header.e_ident[EI_DATA] = ELFDATA2MSB;
  header.e_machine = EM_S390 << 8U;
  const std::string bytes(reinterpret_cast<const char*>(&header), sizeof header);
  world_.Directory().Write("starter", bytes);
  Outcome seen = world_.MakeMedia({"--launcher", "starter"});
  seen.out = Replaced(seen.out, "this machine is \\w+", "this machine is another");
  EXPECT_EQ(seen, (Outcome{0,
                           world_.Text(std::string(kFirstLines) +
                                       "error      {media}/inst/linux/code/bin/kvl-launcher: it is "
                                       "a program for s390x in the other order of bytes, and this "
                                       "machine is another; put the launcher for this machine "
                                       "there\n"),
                           ""}));
}

/// As mktemp(1) makes one. Nobody but its owner opens it.
TEST_F(MakeAtItsEnd, SaysThatADirectoryThatWasThereIsClosedToOthers) {
  world_.Change("dir media; mode 700 media");
  EXPECT_EQ(world_.MakeMedia(),
            (Outcome{0,
                     world_.Text(std::string(kFirstLines) +
                                 "Start it with: '{media}/StartTUI.sh'\n"
                                 "warning    {media}: an ordinary user cannot read it; give it "
                                 "read and execute permission for all (chmod a+rx)\n"),
                     ""}));
  EXPECT_EQ(ModeOf(world_.Path("media")), 0700U);
}

TEST_F(MakeAtItsEnd, DoesNotSayHowToStartWhatLiesWhereNothingCanBeExecuted) {
  world_.Change("dir media");
  const Outcome seen =
      world_.MakeMedia({}, "media", [this] { ForbidToExecute(world_.Path("media")); });
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(seen, (Outcome{0,
                           world_.Text(std::string(kFirstLines) +
                                       "error      {media}/inst/linux/code/bin/setup: the "
                                       "installer would be started from a file system that is "
                                       "mounted noexec; mount it without noexec, or copy the "
                                       "media to another file system\n"),
                           ""}));
}

TEST_F(MakeAtItsEnd, WarnsAndSaysHowToStart) {
  EXPECT_EQ(world_.MakeMedia({}, "me:dia"),
            (Outcome{0,
                     world_.Text("Made a media with tag T 1, layout single, volumes: 1.\n"
                                 "First volume: '{me:dia}'\n"
                                 "Start it with: '{me:dia}/StartTUI.sh'\n"
                                 "warning    {me:dia}: a colon in it takes the path lists of the "
                                 "installer apart; use a directory without a colon in its path\n"),
                     ""}));
}

TEST_F(MakeAtItsEnd, LeavesTheVariablesOfItsAuthorOutOfIt) {
  const Lines arguments = {"make",       "--tag", "T 1",     "--installer", "setup",
                           "--launcher", "setup", "payload", "media"};
  world_.ExpectMade(world_.Companion(arguments, {{"KVL_OS", "other"},
                                                 {"KVL_Installer_EXE", "other"},
                                                 {"KVL_UseExternalInstaller", "1"},
                                                 {"KVL_ZOLVEN_Installer", "/with blank"},
                                                 {"KVLAdmODTMultiVolumes", "1"}}),
                    "'{media}");
}

/// Standard output is a pipe that nobody reads.
void WithoutReader() {
  std::array<int, 2> ends = {};
  if (::pipe(ends.data()) != 0) ::_exit(kImpossibleHere);
  ::close(ends[0]);
  ::dup2(ends[1], STDOUT_FILENO);
  std::signal(SIGPIPE, SIG_DFL);
}

TEST_F(MakeAtItsEnd, SaysThatNobodyReadsWhatItSays) {
  world_.ExpectRefused(world_.MakeMedia({}, "media", WithoutReader),
                       "the media was made, but the message cannot be written");
  world_.ExpectRefused(world_.Companion({"check", "media"}, {}, WithoutReader),
                       "the report cannot be written");
}

}  // namespace
}  // namespace kvl::test
