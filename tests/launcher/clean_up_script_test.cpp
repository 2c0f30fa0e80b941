#include "launcher/clean_up_script.h"

#include "tests/launcher/launch_world.h"
#include "tests/support/outcome.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// Writes the script and claims that nothing is said about it.
void WriteInto(const std::string& staging_dir_slash) {
  const Outcome said = Catch([&] { WriteCleanUpScript(staging_dir_slash); });
  EXPECT_EQ(said.out, "");
  EXPECT_EQ(said.err, "");
}

TEST(CleanUpScript, HasFourLinesEndedByALineFeedAlone) {
  const TestDirectory directory;
  WriteInto(directory.Path() + "/");
  EXPECT_EQ(ReadFile(directory.Path("remove.bat")),
            ":begin\n"
            "rmdir /Q /S \"" +
                directory.Path() +
                "/inst\" 1>nul 2>nul\n"
                "if exist \"" +
                directory.Path() +
                "/inst\" goto begin\n"
                "rmdir /Q /S \"" +
                directory.Path() + "/\" 1>nul 2>nul\n");
}

TEST(CleanUpScript, TakesTheDirectorysTextAsItStands) {
  const TestDirectory directory;
  directory.MakeDir("a \"b\xff");
  const std::string odd = directory.Path() + "//a \"b\xff//";
  WriteInto(odd);
  EXPECT_EQ(ReadFile(directory.Path("a \"b\xff/remove.bat")), CleanUpScriptIn(odd));
}

TEST(CleanUpScript, ReplacesAnExistingOne) {
  const TestDirectory directory;
  directory.Write("remove.bat", std::string(5000, 'x'));
  WriteInto(directory.Path() + "/");
  EXPECT_EQ(ReadFile(directory.Path("remove.bat")), CleanUpScriptIn(directory.Path() + "/"));
}

TEST(CleanUpScript, ThatCannotBeOpenedIsPassedOverInSilence) {
  const ScopedUmask umask(022);
  const TestDirectory directory;
  directory.MakeDir("taken/remove.bat");
  directory.Write("file", "contents");
  for (const char* staging : {"taken/", "missing/", "file/"}) WriteInto(directory.Path(staging));
  EXPECT_THAT(DescribeTree(directory.Path()),
              ElementsAre("d 755 taken", "d 755 taken/remove.bat", "f 644 file = contents"));
}

}  // namespace
}  // namespace kvl::test
