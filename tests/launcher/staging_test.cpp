#include "launcher/staging.h"

#include "launcher/clean_up_script.h"
#include "tests/launcher/launch_world.h"
#include "tests/support/generator_twin.h"

namespace kvl::test {
namespace {

using KVLInsIO::InsPath;

TEST(NewStagingDirectory, IsANewNameBehindTMPDIRAsItStands) {
  const TestDirectory directory;
  for (const std::string& text :
       {directory.Path(), std::string("/a/"), std::string("//a///b//"), std::string("a b\\")}) {
    const std::string name = NewStagingDirectory(text);
    EXPECT_EQ(WithoutIdentifiers(name), text + "/<id>/");
    EXPECT_NE(name, NewStagingDirectory(text));
  }
  EXPECT_THAT(DescribeTree(directory.Path()), IsEmpty());
}

/// Returns the next names that the process will draw, in TMPDIR, without their "/".
std::vector<std::string> NextStagingPaths(std::size_t count, const std::string& tmp) {
  MinimalStandardGenerator generator = TwinOfTheProcessGenerator();
  std::vector<std::string> paths;
  while (paths.size() < count) paths.push_back(tmp + "/" + NewIdentifier(generator, kUpperCase));
  return paths;
}

TEST(FreeStagingDirectory, IsTheGivenNameIfNothingLiesThere) {
  const TestDirectory directory;
  for (const std::string& free : {directory.Path("free/"), directory.Path("missing/directory/"),
                                  directory.Write("file", "") + "/below/"}) {
    EXPECT_EQ(FreeStagingDirectory(directory.Path(), free), free);
  }
  EXPECT_THAT(DescribeTree(directory.Path()), ElementsAre("f 644 file = "));
}

TEST(FreeStagingDirectory, SkipsNamesAtWhichAnythingLies) {
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

TEST(FreeStagingDirectory, ChecksThePathThatTheCopyUses) {
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
  for (const std::string& path : paths) directory.Link(path, "nowhere");
  EXPECT_EQ(FreeStagingDirectory(tmp, NewStagingDirectory(tmp)),
            tmp + paths.back().substr(1) + "/");
}

// Whole runs show what staging copies and how it fails. These failures never happen in a run,
// because the scan or the search for an installer finds the missing file first.
TEST(MakeCopies, FailsWhereInstOrAnExternalOsDirectoryIsMissing) {
  const TestDirectory directory;
  StagingRequest request{InsPath(directory.Path("m")), "", "linux", directory.Path("s/")};
  const auto fails = [&](const std::string& missing) {
    EXPECT_THAT([&] { MakeCopies(StagingCopies(request)); },
                testing::ThrowsMessage<std::runtime_error>("lstat - " + missing +
                                                           " - No such file or directory\n"));
  };
  fails(directory.Path("m/inst"));
  EXPECT_THAT(DescribeTree(directory.Path("s")), IsEmpty());
  for (const std::string& piece : StagedTree().pieces) directory.Write("m/" + piece + "/file", "");
  directory.Write("ext/common/file", "");
  request.external_inst_slash = directory.Path("ext/");
  fails(directory.Path("ext//linux"));
}

TEST(CleanUpScript, TakesAnyPathAsItStandsAndReplacesAnExistingScript) {
  const TestDirectory directory;
  directory.Write("a \"b\xff/remove.bat", std::string(5000, 'x'));
  const std::string odd = directory.Path() + "//a \"b\xff//";
  WriteCleanUpScript(odd);
  EXPECT_EQ(ReadFile(directory.Path("a \"b\xff/remove.bat")), CleanUpScriptIn(odd));
}

TEST(CleanUpScript, IsSkippedSilentlyIfItCannotBeOpened) {
  const ScopedUmask umask(022);
  const TestDirectory directory;
  directory.MakeDir("taken/remove.bat");
  directory.Write("file", "contents");
  const Outcome said = Catch([&] {
    for (const char* in : {"taken/", "missing/", "file/"}) WriteCleanUpScript(directory.Path(in));
  });
  EXPECT_EQ(said.out + said.err, "");
  EXPECT_THAT(DescribeTree(directory.Path()),
              ElementsAre("d 755 taken", "d 755 taken/remove.bat", "f 644 file = contents"));
}

}  // namespace
}  // namespace kvl::test
