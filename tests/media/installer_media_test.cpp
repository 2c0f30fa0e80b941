#include "media/installer_media.h"

#include "console/logger.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using Verdict = InstallerMedia::Verdict;

constexpr char kBlankError[] =
    "ERROR: The directory of the installer contains space characters.\n"
    "       Please copy the Installer media into a directory that does not contain space "
    "characters\n"
    "       and run the installer again.\n";

std::string Trying(const std::string& installer) {
  return " INFO: Installer executable \"" + installer +
         "\" does not exist, trying without sub dir \"1\"\n";
}

std::string Invalid(const std::string& installer) {
  return " INFO: Invalid Installer media, \"" + installer + "\" does not exist\n";
}

std::string Found(const std::string& installer) {
  return " INFO: Installer Media: \"" + installer + "\"\n";
}

/// What a validation gave back and said.
struct Seen {
  InstallerMedia media;
  std::string out;
  std::string err;
};

Seen Validate(const std::string& media, bool quiet = kWithVerdict,
              const InstallerPlace& place = {"P", "X"}) {
  Seen seen;
  Logger logger;
  const Outcome said =
      Catch([&] { seen.media = ValidateInstallerMedia(media, place, quiet, logger); });
  seen.out = said.out;
  seen.err = said.err;
  return seen;
}

void ExpectUsable(const Seen& seen, const std::string& inst_slash, const std::string& installer,
                  const std::string& said_before = "") {
  EXPECT_EQ(seen.media.verdict, Verdict::kUsable);
  EXPECT_EQ(seen.media.inst_slash, inst_slash);
  EXPECT_EQ(seen.media.installer, installer);
  EXPECT_EQ(seen.out, said_before + Found(installer));
  EXPECT_EQ(seen.err, "");
}

/// Not usable, and nothing to be taken from it.
void ExpectRefused(const Seen& seen, Verdict verdict, const std::string& out,
                   const std::string& err = "") {
  EXPECT_EQ(seen.media.verdict, verdict);
  EXPECT_EQ(seen.media.inst_slash, "");
  EXPECT_EQ(seen.media.installer, "");
  EXPECT_EQ(seen.out, out);
  EXPECT_EQ(seen.err, err);
}

TEST(EnsureTrailingSlash, AppendsASlashToATextWithoutOneAtItsEnd) {
  struct Row {
    std::string text;
    std::string result;
  };
  const std::vector<Row> rows = {
      {"/m", "/m/"}, {"/m/", "/m/"}, {"/m//", "/m//"},  {"", ""},          {"/", "/"},
      {"m", "m/"},   {" ", " /"},    {"/m/ ", "/m/ /"}, {"X:\\", "X:\\/"},
  };
  for (const Row& row : rows) {
    std::string text = row.text;
    EnsureTrailingSlash(text);
    EXPECT_EQ(text, row.result) << row.text;
  }
}

TEST(ValidateInstallerMedia, FindsTheInstallerBelowTheSubDirectory1) {
  const TestDirectory directory;
  const std::string installer = directory.Write("m/1/inst/P/code/bin/X", "");
  ExpectUsable(Validate(directory.Path("m")), directory.Path("m/1/inst/"), installer);
  ExpectUsable(Validate(directory.Path("m/")), directory.Path("m/1/inst/"), installer);
}

TEST(ValidateInstallerMedia, FindsTheInstallerInTheMediaItself) {
  const TestDirectory directory;
  const std::string installer = directory.Write("m/inst/P/code/bin/X", "");
  const std::string below_1 = directory.Path("m/1/inst/P/code/bin/X");
  for (const char* media : {"m", "m/"}) {
    SCOPED_TRACE(media);
    ExpectUsable(Validate(directory.Path(media)), directory.Path("m/inst/"), installer,
                 Trying(below_1));
  }
}

TEST(ValidateInstallerMedia, PrefersTheInstallerBelowTheSubDirectory1) {
  const TestDirectory directory;
  directory.Write("m/inst/P/code/bin/X", "");
  const std::string installer = directory.Write("m/1/inst/P/code/bin/X", "");
  ExpectUsable(Validate(directory.Path("m")), directory.Path("m/1/inst/"), installer);
}

TEST(ValidateInstallerMedia, OfAnEmptyMediaSaysNothing) {
  ExpectRefused(Validate("", kWithVerdict), Verdict::kNotUsable, "");
  ExpectRefused(Validate("", kQuiet), Verdict::kNotUsable, "");
}

TEST(ValidateInstallerMedia, NamesBothPlacesWhenThereIsNoInstaller) {
  const TestDirectory directory;
  directory.MakeDir("empty");
  directory.Write("file", "");
  directory.Write("other platform/inst/Q/code/bin/X", "");
  directory.Write("other name/1/inst/P/code/bin/Y", "");
  directory.Link("dangling/inst/P/code/bin/X", directory.Path("nowhere"));
  for (const char* name :
       {"empty", "file", "missing", "other platform", "other name", "dangling"}) {
    const std::string media = directory.Path(name);
    SCOPED_TRACE(name);
    ExpectRefused(Validate(media), Verdict::kNotUsable,
                  Trying(media + "/1/inst/P/code/bin/X") + Invalid(media + "/inst/P/code/bin/X"));
  }
}

TEST(ValidateInstallerMedia, QuietLeavesOutOnlyTheVerdictOnAnInvalidMedia) {
  const TestDirectory directory;
  directory.MakeDir("empty");
  const std::string installer = directory.Write("m/inst/P/code/bin/X", "");
  directory.Write("a b/inst/P/code/bin/X", "");

  ExpectRefused(Validate(directory.Path("empty"), kQuiet), Verdict::kNotUsable,
                Trying(directory.Path("empty/1/inst/P/code/bin/X")));
  ExpectUsable(Validate(directory.Path("m"), kQuiet), directory.Path("m/inst/"), installer,
               Trying(directory.Path("m/1/inst/P/code/bin/X")));
  ExpectRefused(Validate(directory.Path("a b"), kQuiet), Verdict::kBlankInDirectory,
                Trying(directory.Path("a b/1/inst/P/code/bin/X")), kBlankError);
}

TEST(ValidateInstallerMedia, RefusesABlankAnywhereInTheDirectoryOfAnInstaller) {
  for (const std::string name : {"a b", " m", "m ", "a b/m", "m/ ", " "}) {
    const TestDirectory below_1, without_1;
    below_1.Write(name + "/1/inst/P/code/bin/X", "");
    without_1.Write(name + "/inst/P/code/bin/X", "");
    SCOPED_TRACE("\"" + name + "\"");
    ExpectRefused(Validate(below_1.Path(name)), Verdict::kBlankInDirectory, "", kBlankError);
    ExpectRefused(Validate(without_1.Path(name)), Verdict::kBlankInDirectory,
                  Trying(without_1.Path(name + "/1/inst/P/code/bin/X")), kBlankError);
  }
}

TEST(ValidateInstallerMedia, DoesNotMindABlankWithoutAnInstaller) {
  const TestDirectory directory;
  const std::string media = directory.MakeDir("a b");
  ExpectRefused(Validate(media), Verdict::kNotUsable,
                Trying(media + "/1/inst/P/code/bin/X") + Invalid(media + "/inst/P/code/bin/X"));
}

TEST(ValidateInstallerMedia, DoesNotMindABlankBehindTheDirectory) {
  const TestDirectory directory;
  const std::string platform = directory.Write("m/1/inst/P Q/code/bin/X", "");
  const std::string executable = directory.Write("m/1/inst/P/code/bin/X Y", "");
  const std::string inst_slash = directory.Path("m/1/inst/");
  ExpectUsable(Validate(directory.Path("m"), kWithVerdict, {"P Q", "X"}), inst_slash, platform);
  ExpectUsable(Validate(directory.Path("m"), kWithVerdict, {"P", "X Y"}), inst_slash, executable);
}

TEST(ValidateInstallerMedia, MindsNoOtherWhiteSpace) {
  const TestDirectory directory;
  const std::string installer = directory.Write("a\tb\xc2\xa0/1/inst/P/code/bin/X", "");
  ExpectUsable(Validate(directory.Path("a\tb\xc2\xa0")), directory.Path("a\tb\xc2\xa0/1/inst/"),
               installer);
}

TEST(ValidateInstallerMedia, IndentsALineFeedInTheNameOfTheMedia) {
  const TestDirectory directory;
  const std::string media = directory.MakeDir("a\nb");
  const std::string shown = directory.Path("a\n       b");
  ExpectRefused(Validate(media), Verdict::kNotUsable,
                Trying(shown + "/1/inst/P/code/bin/X") + Invalid(shown + "/inst/P/code/bin/X"));
}

TEST(ValidateInstallerMedia, WithAnEmptyPlatformHasADoubledSlash) {
  const TestDirectory directory;
  directory.Write("m/1/inst/code/bin/X", "");
  directory.Write("n/inst/code/bin/X", "");
  ExpectUsable(Validate(directory.Path("m"), kWithVerdict, {"", "X"}), directory.Path("m/1/inst/"),
               directory.Path("m/1/inst//code/bin/X"));
  ExpectUsable(Validate(directory.Path("n"), kWithVerdict, {"", "X"}), directory.Path("n/inst/"),
               directory.Path("n/inst//code/bin/X"),
               Trying(directory.Path("n/1/inst//code/bin/X")));
}

TEST(ValidateInstallerMedia, WithAnEmptyExecutableTakesTheBinDirectory) {
  const TestDirectory directory;
  directory.MakeDir("m/1/inst/P/code/bin");
  directory.MakeDir("n/1/inst/P/code");
  ExpectUsable(Validate(directory.Path("m"), kWithVerdict, {"P", ""}), directory.Path("m/1/inst/"),
               directory.Path("m/1/inst/P/code/bin/"));
  ExpectRefused(Validate(directory.Path("n"), kWithVerdict, {"P", ""}), Verdict::kNotUsable,
                Trying(directory.Path("n/1/inst/P/code/bin/")) +
                    Invalid(directory.Path("n/inst/P/code/bin/")));
}

TEST(ValidateInstallerMedia, TakesWhateverExistsForTheInstaller) {
  const TestDirectory directory;
  SetMode(directory.Write("file/1/inst/P/code/bin/X", ""), 0);
  directory.MakeDir("directory/1/inst/P/code/bin/X");
  directory.Link("link/1/inst/P/code/bin/X", directory.Path("file"));
  for (const std::string name : {"file", "directory", "link"}) {
    SCOPED_TRACE(name);
    ExpectUsable(Validate(directory.Path(name)), directory.Path(name + "/1/inst/"),
                 directory.Path(name + "/1/inst/P/code/bin/X"));
  }
}

TEST(ValidateInstallerMedia, UsesTheMediaAsItIsWritten) {
  const TestDirectory directory;
  directory.Write("m/1/inst/P/code/bin/X", "");
  for (const std::string media : {"m//", "m/./", "./m/../m/"}) {
    SCOPED_TRACE(media);
    ExpectUsable(Validate(directory.Path(media)), directory.Path(media + "1/inst/"),
                 directory.Path(media + "1/inst/P/code/bin/X"));
  }
  for (const std::string& media :
       {"\"" + directory.Path("m") + "\"", directory.Path("m\\"), directory.Path("m;")}) {
    SCOPED_TRACE(media);
    ExpectRefused(Validate(media), Verdict::kNotUsable,
                  Trying(media + "/1/inst/P/code/bin/X") + Invalid(media + "/inst/P/code/bin/X"));
  }
}

TEST(ValidateInstallerMedia, OfTheRootDirectoryDoesNotDoubleTheSlash) {
  const TestDirectory directory;
  const std::string platform = std::filesystem::path(directory.Path()).filename().string();
  ExpectRefused(
      Validate("/", kWithVerdict, {platform, "X"}), Verdict::kNotUsable,
      Trying("/1/inst/" + platform + "/code/bin/X") + Invalid("/inst/" + platform + "/code/bin/X"));
}

TEST(ValidateInstallerMedia, KeepsARelativeMediaRelative) {
  const TestDirectory directory;
  directory.Write("m/1/inst/P/code/bin/X", "");
  directory.Write("1/inst/P/code/bin/X", "");
  const Outcome outcome = RunIsolated([&] {
    if (::chdir(directory.Path().c_str()) != 0) return 1;
    for (const char* media : {"m", ".", "nothing"}) {
      Logger logger;
      const InstallerMedia found = ValidateInstallerMedia(media, {"P", "X"}, kWithVerdict, logger);
      std::cout << found.inst_slash << ", " << found.installer << std::endl;
    }
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, Found("m/1/inst/P/code/bin/X") + "m/1/inst/, m/1/inst/P/code/bin/X\n" +
                             Found("./1/inst/P/code/bin/X") + "./1/inst/, ./1/inst/P/code/bin/X\n" +
                             Trying("nothing/1/inst/P/code/bin/X") +
                             Invalid("nothing/inst/P/code/bin/X") + ", \n");
  EXPECT_EQ(outcome.err, "");
}

TEST(ValidateInstallerMedia, LeavesTheMediaAsItIs) {
  const TestDirectory directory;
  directory.Write("m/inst/P/code/bin/X", "installer");
  const std::vector<std::string> before = DescribeTreeExactly(directory.Path());
  Validate(directory.Path("m"));
  Validate(directory.Path("missing"));
  EXPECT_EQ(DescribeTreeExactly(directory.Path()), before);
}

}  // namespace
}  // namespace kvl::test
