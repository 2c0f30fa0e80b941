// The end of kvl-media make: a check of the media that it has made.
#include <elf.h>

#include "companion/calls/last_words.h"
#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

constexpr char kFirstLines[] =
    "Made a media with tag T 1, layout single, volumes: 1.\nFirst volume: '{media}'\n";
constexpr char kBroken[] =
    "kvl-media: the media cannot be started: {media}; correct the errors that are reported, remove "
    "the media and run make again\n";

class MakeAtItsEnd : public testing::Test {
 protected:
  CheckWorld world_{"file setup #!/bin/sh\\n; file payload/file x"};
};

TEST(LastWords, AreWrittenOnlyDuringTheirLifetime) {
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
  const std::string programs = "{media}/inst/linux/code/bin/";
  const std::string empty =
      "error: the installer is empty: " + programs + "setup; copy the installer again\n";
  const std::string missing =
      "error: the first line of the script names the program /missing, which is missing or cannot "
      "be executed: " +
      programs;
  const std::string wrong_machine =
      "error: the launcher is neither a script nor a binary: " + programs +
      "kvl-launcher; put the launcher for this machine there\n";
  struct Row {
    std::string change, findings;
  };
  for (const Row& row : std::vector<Row>{
           {"file setup", empty},
           {"file setup #!/bin/sh\\r\\n",
            "error: the first line contains a carriage return: " + programs +
                "setup; save the file with line feeds alone\n"},
           {"file setup #!/missing\\n",
            missing + "setup; correct the first line, or install that program\n"},
           {"file starter text", wrong_machine},
           {"file starter #!/missing\\n; file setup",
            empty + missing + "kvl-launcher; correct the first line, or install that program\n"},
       }) {
    SCOPED_TRACE(row.change);
    CheckWorld world("file setup #!/bin/sh\\n; file payload/file x; file starter #!/bin/sh\\n");
    world.Change(row.change);
    EXPECT_EQ(world.MakeMedia({"--launcher", "starter"}),
              (Outcome{1, world.Text(kFirstLines + row.findings), world.Text(kBroken)}));
  }
}

/// The media is fine for the other machine.
TEST_F(MakeAtItsEnd, DoesNotSayHowToStartAMediaForAnotherMachine) {
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
                                       "error: the launcher is a program for s390x in the other "
                                       "order of bytes, but this machine is another: "
                                       "{media}/inst/linux/code/bin/kvl-launcher; put the launcher "
                                       "for this machine there\n"),
                           ""}));
}

/// mktemp(1) makes such a directory. Only its owner can open it.
TEST_F(MakeAtItsEnd, WarnsThatAnExistingDirectoryIsClosedToOthers) {
  world_.Change("dir media; mode 700 media");
  EXPECT_EQ(world_.MakeMedia(),
            (Outcome{0,
                     world_.Text(std::string(kFirstLines) +
                                 "Start it with: '{media}/StartTUI.sh'\n"
                                 "warning: other users cannot read this directory: {media}; give "
                                 "all users read and execute permission (chmod a+rx)\n"),
                     ""}));
  EXPECT_EQ(ModeOf(world_.Path("media")), 0700U);
}

TEST_F(MakeAtItsEnd, DoesNotSayHowToStartAMediaOnANoexecFileSystem) {
  world_.Change("dir media");
  const Outcome seen =
      world_.MakeMedia({}, "media", [this] { ForbidToExecute(world_.Path("media")); });
  if (seen.status == kImpossibleHere) GTEST_SKIP() << "nothing can be mounted here";
  EXPECT_EQ(seen, (Outcome{0,
                           world_.Text(std::string(kFirstLines) +
                                       "error: the installer lies on a file system that is mounted "
                                       "noexec: {media}/inst/linux/code/bin/setup; mount the file "
                                       "system without noexec, or copy the media to another "
                                       "one\n"),
                           ""}));
}

TEST_F(MakeAtItsEnd, WarnsAndSaysHowToStart) {
  EXPECT_EQ(world_.MakeMedia({}, "me:dia"),
            (Outcome{0,
                     world_.Text("Made a media with tag T 1, layout single, volumes: 1.\n"
                                 "First volume: '{me:dia}'\n"
                                 "Start it with: '{me:dia}/StartTUI.sh'\n"
                                 "warning: the path contains a colon, which splits it in the path "
                                 "lists of the installer: {me:dia}; use a directory whose path has "
                                 "no colon\n"),
                     ""}));
}

TEST_F(MakeAtItsEnd, IgnoresTheVariablesOfTheAuthor) {
  const Lines arguments = {"make",       "--tag", "T 1",     "--installer", "setup",
                           "--launcher", "setup", "payload", "media"};
  world_.ExpectMade(world_.Companion(arguments, {{"KVL_OS", "other"},
                                                 {"KVL_Installer_EXE", "other"},
                                                 {"KVL_UseExternalInstaller", "1"},
                                                 {"KVL_ZOLVEN_Installer", "/with blank"},
                                                 {"KVLAdmODTMultiVolumes", "1"}}),
                    "'{media}");
}

/// Makes standard output a pipe that nobody reads.
void WithoutReader() {
  std::array<int, 2> ends = {};
  if (::pipe(ends.data()) != 0) ::_exit(kImpossibleHere);
  ::close(ends[0]);
  ::dup2(ends[1], STDOUT_FILENO);
  std::signal(SIGPIPE, SIG_DFL);
}

TEST_F(MakeAtItsEnd, SaysThatItsReportCannotBeWritten) {
  world_.ExpectRefused(world_.MakeMedia({}, "media", WithoutReader),
                       "the media was made, but the report cannot be written: standard output; run "
                       "kvl-media check to see whether the media starts");
  world_.ExpectRefused(world_.Companion({"check", "media"}, {}, WithoutReader),
                       "the report cannot be written: standard output; check the file or program "
                       "that receives it");
}

}  // namespace
}  // namespace kvl::test
