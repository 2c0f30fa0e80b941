#include "launcher/staging.h"

#include "insio/exceptions.h"
#include "tests/launcher/launch_world.h"
#include "tests/support/generator_twin.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

using KVLInsIO::InsPath;
using testing::MatchesRegex;

constexpr char kIdentifier[] =
    "/[0-9A-F]{8}-[0-9A-F]{4}-4[0-9A-F]{3}-[89AB][0-9A-F]{3}-[0-9A-F]{12}/";

TEST(NewStagingDirectory, LiesInTheTemporaryDirectoryAndIsNotMade) {
  const TestDirectory directory;
  EXPECT_THAT(NewStagingDirectory(directory.Path()), MatchesRegex(directory.Path() + kIdentifier));
  EXPECT_THAT(DescribeTree(directory.Path()), IsEmpty());
}

TEST(NewStagingDirectory, KeepsTheTextOfTheTemporaryDirectory) {
  for (const char* text : {"/a/", "//a///b//", "relative", "a b\\"}) {
    const std::string directory = NewStagingDirectory(text);
    ASSERT_EQ(directory.substr(0, std::string(text).size()), text);
    EXPECT_THAT(directory.substr(std::string(text).size()), MatchesRegex(kIdentifier));
  }
}

TEST(NewStagingDirectory, IsAnotherOneEachTime) {
  EXPECT_NE(NewStagingDirectory("/t"), NewStagingDirectory("/t"));
}

/// The names that the process is going to make, in TMPDIR, without their "/".
std::vector<std::string> NextStagingPaths(std::size_t count, const std::string& tmp) {
  MinimalStandardGenerator generator = TwinOfTheProcessGenerator();
  std::vector<std::string> paths;
  while (paths.size() < count) paths.push_back(tmp + "/" + NewIdentifier(generator, kUpperCase));
  return paths;
}

TEST(FreeStagingDirectory, IsTheOneGivenWhereNothingLies) {
  const TestDirectory directory;
  for (const std::string& free : {directory.Path("free/"), directory.Path("missing/directory/"),
                                  directory.Write("file", "") + "/below/"}) {
    EXPECT_EQ(FreeStagingDirectory(directory.Path(), free), free);
  }
  EXPECT_THAT(DescribeTree(directory.Path()), ElementsAre("f 644 file = "));
}

TEST(FreeStagingDirectory, PassesOverEveryNameAtWhichAnythingLies) {
  const ScopedUmask umask(022);
  const TestDirectory directory;
  const std::string tmp = directory.Path("tmp");
  const std::vector<std::string> paths = NextStagingPaths(6, "tmp");
  directory.MakeDir(paths[0]);
  directory.Write(paths[1], "");
  directory.Link(paths[2], "nowhere");
  directory.Link(paths[3], ".");
  directory.Pipe(paths[4]);
  const std::vector<std::string> before = DescribeTree(directory.Path());
  EXPECT_EQ(FreeStagingDirectory(tmp, NewStagingDirectory(tmp)), directory.Path(paths[5]) + "/");
  EXPECT_EQ(DescribeTree(directory.Path()), before);
}

TEST(FreeStagingDirectory, LooksWhereTheCopyGoes) {
  const TestDirectory directory;
  const std::string tmp = directory.Path("a\\\\b\\");
  const std::vector<std::string> paths = NextStagingPaths(2, "a/b");
  directory.MakeDir(paths[0]);
  EXPECT_EQ(InsPath(FreeStagingDirectory(tmp, NewStagingDirectory(tmp))).Str(),
            directory.Path(paths[1]));
}

TEST(FreeStagingDirectory, EndsWhereEveryNameIsTaken) {
  constexpr std::size_t kTaken = 1001;
  const TestDirectory directory;
  const std::string& tmp = directory.Path();
  const std::vector<std::string> paths = NextStagingPaths(kTaken, ".");
  for (const std::string& path : paths) directory.Write(path, "");
  EXPECT_EQ(FreeStagingDirectory(tmp, NewStagingDirectory(tmp)),
            tmp + paths.back().substr(1) + "/");
}

/// A media in "m" with the smallest "inst", an external "inst" in "ext", and the request to stage.
struct StagingWorld {
  const ScopedUmask umask{022};
  TestDirectory directory;
  StagingRequest request{InsPath(directory.Path("m")), "", "linux", directory.Path("s/")};

  StagingWorld() {
    directory.Write("m/inst/volumes.txt", "3\n");
    for (const char* name :
         {"meta.TOCxml", "media.xml", "media.db", "StartGUI.sh", "StartTUI.sh"}) {
      directory.Write("m/" + std::string(name), name);
    }
  }

  void WithExternalInstaller() {
    directory.Write("ext/common/c", "external");
    directory.Write("ext/linux/code/bin/x", "external");
    request.external_inst_slash = directory.Path("ext/");
  }

  std::vector<std::string> Staged() const { return DescribeTree(directory.Path("s")); }
};

/// The class and the text of the exception.
std::string FailureOf(const StagingWorld& world) {
  try {
    MakeCopies(StagingCopies(world.request));
    return "none";
  } catch (const KVLInsIO::KVLInsException& failure) {
    return std::string("KVLInsException: ") + failure.what();
  } catch (const KVLInsIO::KVLInsExceptionErrno& failure) {
    return std::string("KVLInsExceptionErrno: ") + failure.what();
  }
}

TEST(MakeCopies, CopiesInstAndWhatLiesBesideItAndNothingElse) {
  StagingWorld world;
  world.directory.Write("m/inst/linux/code/bin/installer", "binary");
  SetMode(world.directory.Path("m/inst/linux/code/bin/installer"), 0755);
  world.directory.MakeDir("m/inst/common/empty");
  world.directory.Write("m/1.txt", "MTBDIR=X");
  world.directory.Write("m/payload/data", "much");
  MakeCopies(StagingCopies(world.request));
  EXPECT_THAT(world.Staged(),
              ElementsAre("d 755 inst", "d 755 inst/common", "d 755 inst/common/empty",
                          "d 755 inst/linux", "d 755 inst/linux/code", "d 755 inst/linux/code/bin",
                          "f 644 StartGUI.sh = StartGUI.sh", "f 644 StartTUI.sh = StartTUI.sh",
                          "f 644 inst/volumes.txt = 3\n", "f 644 media.db = media.db",
                          "f 644 media.xml = media.xml", "f 644 meta.TOCxml = meta.TOCxml",
                          "f 755 inst/linux/code/bin/installer = binary"));
}

TEST(MakeCopies, LaysAnExternalInstallerOverTheMediasInst) {
  StagingWorld world;
  world.directory.Write("m/inst/common/c", "of the media");
  world.directory.Write("m/inst/linux/reffiles/r", "of the media");
  world.WithExternalInstaller();
  world.directory.Write("ext/other/not-this", "external");
  MakeCopies(StagingCopies(world.request));
  EXPECT_THAT(DescribeTree(world.directory.Path("s/inst")),
              ElementsAre("d 755 common", "d 755 linux", "d 755 linux/code", "d 755 linux/code/bin",
                          "d 755 linux/reffiles", "f 644 common/c = external",
                          "f 644 linux/code/bin/x = external",
                          "f 644 linux/reffiles/r = of the media", "f 644 volumes.txt = 3\n"));
}

TEST(MakeCopies, WithAnEmptyOsNameCopiesTheWholeExternalInst) {
  StagingWorld world;
  world.WithExternalInstaller();
  world.directory.Write("ext/other/also", "external");
  world.request.os_name = "";
  MakeCopies(StagingCopies(world.request));
  EXPECT_EQ(ReadFile(world.directory.Path("s/inst/other/also")), "external");
  EXPECT_EQ(ReadFile(world.directory.Path("s/inst/linux/code/bin/x")), "external");
}

TEST(MakeCopies, CopiesLinksAsWhatTheyLeadTo) {
  StagingWorld world;
  world.directory.Write("elsewhere/in-it", "text");
  world.directory.Link("m/inst/to-directory", "../../elsewhere");
  world.directory.Link("m/inst/to-file", world.directory.Path("elsewhere/in-it"));
  std::filesystem::remove(world.directory.Path("m/media.db"));
  world.directory.Link("m/media.db", "../elsewhere");
  MakeCopies(StagingCopies(world.request));
  EXPECT_THAT(DescribeTree(world.directory.Path("s/inst")),
              ElementsAre("d 755 to-directory", "f 644 to-directory/in-it = text",
                          "f 644 to-file = text", "f 644 volumes.txt = 3\n"));
  EXPECT_THAT(DescribeTree(world.directory.Path("s/media.db")), ElementsAre("f 644 in-it = text"));
}

TEST(MakeCopies, GivesACopyTheSourcesModeLessTheUmaskAndItsTimesInWholeSeconds) {
  StagingWorld world;
  const std::string source = world.directory.Path("m/media.xml");
  SetMode(source, 04777);
  SetTimes(source, 1'000'000'000, 1'100'000'000);
  MakeCopies(StagingCopies(world.request));
  struct stat copy;
  ASSERT_EQ(::stat(world.directory.Path("s/media.xml").c_str(), &copy), 0);
  EXPECT_EQ(copy.st_mode & 07777U, 0755U);
  EXPECT_EQ(copy.st_atim.tv_sec, 1'000'000'000);
  EXPECT_EQ(copy.st_mtim.tv_sec, 1'100'000'000);
  EXPECT_EQ(copy.st_mtim.tv_nsec, 0);
}

TEST(MakeCopies, KeepsTheModeOfAFileThatAnExternalInstallerReplaces) {
  StagingWorld world;
  SetMode(world.directory.Write("m/inst/common/c", "of the media"), 0640);
  world.WithExternalInstaller();
  SetMode(world.directory.Path("ext/common/c"), 0755);
  MakeCopies(StagingCopies(world.request));
  EXPECT_THAT(DescribeTree(world.directory.Path("s/inst/common")),
              ElementsAre("f 640 c = external"));
}

TEST(MakeCopies, StopsAtTheFirstMissingPieceAndKeepsWhatItCopied) {
  const std::string all[] = {"inst",     "meta.TOCxml", "media.xml",
                             "media.db", "StartGUI.sh", "StartTUI.sh"};
  std::vector<std::string> staged;
  for (const std::string& missing : all) {
    SCOPED_TRACE(missing);
    StagingWorld world;
    std::filesystem::remove_all(world.directory.Path("m/" + missing));
    EXPECT_EQ(FailureOf(world), "KVLInsException: lstat - " + world.directory.Path("m/" + missing) +
                                    " - No such file or directory\n");
    EXPECT_THAT(world.Staged(), testing::UnorderedElementsAreArray(staged));
    if (missing == "inst") {
      staged = {"d 755 inst", "f 644 inst/volumes.txt = 3\n"};
    } else {
      staged.push_back("f 644 " + missing + " = " + missing);
    }
  }
}

TEST(MakeCopies, FailsWhenAnExternalInstallerHasNoCommonOrOsDirectory) {
  for (const std::string missing : {"common", "linux"}) {
    StagingWorld world;
    world.WithExternalInstaller();
    std::filesystem::remove_all(world.directory.Path("ext/" + missing));
    EXPECT_EQ(FailureOf(world), "KVLInsException: lstat - " + world.directory.Path("ext//") +
                                    missing + " - No such file or directory\n");
  }
}

TEST(MakeCopies, FailsOnADanglingLink) {
  StagingWorld world;
  const std::string link = world.directory.Link("m/inst/dangling", "nowhere");
  EXPECT_EQ(FailureOf(world),
            "KVLInsExceptionErrno: Cannot stat " + link + " - No such file or directory\n");
}

TEST(MakeCopies, FailsWhereAFileStandsInTheWay) {
  StagingWorld world;
  world.directory.Write("s", "a file");
  EXPECT_EQ(FailureOf(world),
            "KVLInsException: mkdir - " + world.directory.Path("s/inst") + " - Not a directory\n");
}

TEST(MakeCopies, FailsWithTheErrorOfAReadThatFails) {
  StagingWorld world;
  world.directory.Link("m/inst/memory", "/proc/self/mem");
  EXPECT_EQ(FailureOf(world), "KVLInsExceptionErrno: Cannot write into " +
                                  world.directory.Path("s/inst/memory") +
                                  " - Input/output error\n");
}

}  // namespace
}  // namespace kvl::test
