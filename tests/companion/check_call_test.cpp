// kvl-media: bad calls, help texts, the JSON report, and output that cannot be written.
#include <nlohmann/json.hpp>

#include "companion/check/finding_catalogue.h"
#include "companion/check/installer_variables.h"
#include "companion/check/media_report.h"
#include "tests/companion/check_world.h"
#include "tests/launcher/expected_environment.h"

namespace kvl::test {
namespace {

using Json = nlohmann::ordered_json;

/// Calls, with "" for an empty argument, and the message of each.
constexpr char kBadCalls[] = R"(
=> A subcommand is required (see --help)
mkae => unknown subcommand: mkae; use check, make, seal, verify or clean (see --help)
mkae --tag T payload => unknown subcommand: mkae; use check, make, seal, verify or clean (see --help)
--json chekc 1 => unknown subcommand: chekc; use check, make, seal, verify or clean (see --help)
--json => unexpected argument: --json (see --help)
--json check 1 => unexpected argument: --json; put arguments for the launcher behind -- (see --help)
check => DIR is required (see --help)
check "" => DIR is not a directory: ; name the directory of a volume, or the one that holds volumes as 1, 2, ...
check missing => DIR is not a directory: missing; name the directory of a volume, or the one that holds volumes as 1, 2, ...
check 1/1.txt => DIR is not a directory: 1/1.txt; name the directory of a volume, or the one that holds volumes as 1, 2, ...
check 1 2 => unexpected argument: 2; put arguments for the launcher behind -- (see --help)
check 1 --jsn => unexpected argument: --jsn; put arguments for the launcher behind -- (see --help)
check 1 --target foo -x => unexpected arguments: --target foo -x; put arguments for the launcher behind -- (see --help)
make payload media --tag T --installer setup third --forth => unexpected arguments: third --forth (see --help)
check 1 --os => --os: 1 required TEXT missing (see --help)
)";

TEST(KvlMedia, RefusesBadCallsWithOneLine) {
  const CheckWorld world("two volumes");
  std::istringstream rows(kBadCalls + 1);
  for (std::string row; std::getline(rows, row);) {
    SCOPED_TRACE(row);
    const std::size_t arrow = row.find("=> ");
    std::istringstream words(row.substr(0, arrow));
    Lines arguments(std::istream_iterator<std::string>(words), {});
    std::replace(arguments.begin(), arguments.end(), std::string("\"\""), std::string());
    world.ExpectRefused(world.Companion(arguments), row.substr(arrow + 3));
  }
}

constexpr char kHelp[] =
    R"(Checks, makes, seals and verifies installation media, and removes what runs left.
Usage: kvl-media [OPTIONS] SUBCOMMAND

Options:
  --version                   Print the version
  -h,--help                   Print this help text

Subcommands:
  check                       Says what the launcher would do with a media, and what is wrong with the media.
                              Changes nothing and starts nothing. Arguments behind "--" are for the launcher.
                              The environment counts as it does for the launcher.
  make                        Makes a media from the directory tree PAYLOAD, and splits it into volumes.
                              Overwrites nothing. Volume i holds its part of the payload in payload/i, and the SHA-256 of
                              each of its files in i.sha256.
  seal                        Signs the manifest of a media with minisign, which asks for the password of the key, and
                              writes the signature onto each volume given. Verify the media first.
  verify                      Reads a media and says whether it is what make wrote: which files are damaged, missing or
                              not listed, and whether all volumes belong together. Changes nothing.
  clean                       Lists what staged runs of this user have left in a temporary directory; with --yes, removes
                              it. Leaves alone what is in use or was not clearly left by such a run, and says why.

)";

constexpr char kHelpWithCheck[] =
    R"(Says what the launcher would do with a media, and what is wrong with the media.
Changes nothing and starts nothing. Arguments behind "--" are for the launcher.
The environment counts as it does for the launcher.
Usage: kvl-media check [OPTIONS] DIR

Positionals:
  DIR TEXT REQUIRED           Directory of volume 1, or the directory that holds volumes as 1, 2, ...

Options:
  -h,--help                   Print this help text
  --os TEXT                   Name of the operating-system directory below inst
                              (default: KVL_OS from the environment, or else from StartTUI.sh)
  --installer TEXT            File name of the installer
                              (default: KVL_Installer_EXE from the environment, or else from StartTUI.sh)
  --json                      Write one JSON object instead of text
  --verbose                   Also show the installer's command, the variables and the launcher's messages
                              (JSON always has them)

Exit status: 0 no problems, 1 problems, 2 bad call.
)";

constexpr char kHelpWithMake[] =
    R"(Makes a media from the directory tree PAYLOAD, and splits it into volumes.
Overwrites nothing. Volume i holds its part of the payload in payload/i, and the SHA-256 of
each of its files in i.sha256.
Usage: kvl-media make [OPTIONS] PAYLOAD DIR

Positionals:
  PAYLOAD TEXT REQUIRED       Directory with what is to be installed
  DIR TEXT REQUIRED           Directory to write the media into; it must be empty or missing

Options:
  -h,--help                   Print this help text
  --config FILE               File with options as lines NAME = VALUE; an option in the call overrides the file
  --layout TEXT:{single,flat,sibling,am}
                              Where the volumes lie: single, flat, sibling or am
                              (default: single for one volume, sibling for several)
  --volume-size SIZE          Most bytes of the disc image of a volume: a whole number, also with K, M or G (powers
                              of 1024) or KB, MB or GB (powers of 1000), or cd, dvd or dvd-dl (default: no limit)
  --keep-together DIR ...     Directory of PAYLOAD that must lie on one volume with all its contents; repeatable
  --presorted                 PAYLOAD holds directories 1, 2, ..., each with the files for one volume
  --tag TEXT REQUIRED         Text of up to 256 bytes that marks volumes as belonging together
  --installer TEXT ... REQUIRED
                              Installer to put on the media
  --inst TEXT                 Directory whose contents go into inst: other files that the installer needs
  --links TEXT:{keep,follow}  keep copies symbolic links as links, which must be relative and lead to
                              something in PAYLOAD (default); follow copies what they lead to
  --jobs UINT:INT in [1 - 64] How many files make copies at the same time, 1 to 64
                              (default: one for each processor, at most 8)
  --launcher TEXT ...         Launcher to put on the media (default: kvl-launcher beside kvl-media)
  --sign KEY                  Secret key file of minisign to sign the manifest with (default: no signature)
  --iso                       Also write a disc image of each volume, beside its directory and with its name
                              and .iso (needs xorriso)
  --iso-only                  Write these images, and remove the directories when all images are stored
  --system,--os TEXT ...      Name of the operating-system directory below inst (default: linux)
  --machine TEXT ...          Machine that runs the programs of this system: x86_64, arm64, ppc64le, riscv64, s390x or
                              what uname -m prints there (default: every machine); for several machines, repeat it with
                              --system, --installer and --launcher
  --dry-run                   Say what make would write, and write nothing
  --json                      Write one JSON object instead of text
  --quiet                     Show no progress, even on a terminal
  --verbose                   Name each file on standard error when make copies it; with --dry-run, name the
                              files in the report

Exit status: 0 done, 1 the media or an image could not be written, or the media cannot be
started, 2 bad call.
)";

constexpr char kHelpWithSeal[] =
    R"(Signs the manifest of a media with minisign, which asks for the password of the key, and
writes the signature onto each volume given. Verify the media first.
Usage: kvl-media seal [OPTIONS] DIR...

Positionals:
  DIR TEXT ... REQUIRED       Directory of a volume, or the directory that holds volumes as 1, 2, ...

Options:
  -h,--help                   Print this help text
  --key TEXT REQUIRED         Secret key file of minisign

Exit status: 0 done, 1 the media could not be sealed, 2 bad call.
)";

constexpr char kHelpWithVerify[] =
    R"(Reads a media and says whether it is what make wrote: which files are damaged, missing or
not listed, and whether all volumes belong together. Changes nothing.
Usage: kvl-media verify [OPTIONS] DIR...

Positionals:
  DIR TEXT ... REQUIRED       Directory of a volume, or the directory that holds volumes as 1, 2, ...

Options:
  -h,--help                   Print this help text
  --key TEXT                  Public key of minisign, or its file; each manifest must be signed with it
  --jobs UINT:UINT in [1 - 64]
                              How many files verify reads at the same time, 1 to 64
                              (default: 1, which is best for a disc)
  --wait                      Ask for one volume after the other in DIR, until all have been looked at
  --json                      Write one JSON object instead of text

Exit status: 0 whole (with --key: and genuine), 1 not whole or not genuine, 2 bad call,
3 something could not be read, 4 nothing is wrong with the volumes given, and others were
not looked at.
)";

TEST(KvlMedia, PrintsItsVersionAndHelpTexts) {
  const std::vector<std::pair<Lines, std::string>> rows = {
      {{"--version"}, "kvl-media 0.1.0\n"},
      {{"--help"}, kHelp},
      {{"-h"}, kHelp},
      {{"check", "--help"}, kHelpWithCheck},
      {{"check", "-h"}, kHelpWithCheck},
      {{"make", "--help"}, kHelpWithMake},
      {{"make", "-h"}, kHelpWithMake},
      {{"seal", "--help"}, kHelpWithSeal},
      {{"verify", "--help"}, kHelpWithVerify},
  };
  for (const auto& [arguments, help] : rows) {
    EXPECT_EQ(CheckWorld().Companion(arguments), (Outcome{0, help, ""}));
  }
}

/// Returns the variables that the installer gets in addition to those of the launcher, for {1}.
Environment VariablesFrom(const CheckWorld& world, const Prepared& from) {
  const Environment given = {{"TMPDIR", world.Path("tmp")}, {"PATH", "/usr/bin:/bin"}};
  return EnvChanges(given, InstallerEnvironment(world, given, from));
}

TEST(KvlMediaCheck, ShowsCommandVariablesAndMessagesOnDemand) {
  CheckWorld world("first 1; 1: volumes=1");
  std::string variables;
  for (const auto& [name, value] : VariablesFrom(world, {.software_management = true})) {
    variables += "  " + name + "=" + value + "\n";
  }
  world.ExpectReport(world.Check({"--verbose", "--", "-SoftMgt", "-List"}), R"(Media      {1}
System     linux, from --os
Installer  {1}/inst/linux/code/bin/installer, in the media; name from --installer
Volumes    not looked for
Start      in place
Command
  {1}/inst/linux/code/bin/installer
  --mgt
  )" + fs::path(world.Path(".")).parent_path().string() + R"(
  --var
  Radio_KVLSoftwareMgtCheck?List=true
Variables
)" + variables + R"(Messages
   INFO: {1}/inst/linux/code/bin/installer
   INFO: Installer found in current media: "{1}/inst/linux/code/bin/installer".
Fine: the installer will be started in place
)");
  const Outcome for_programs = world.Check({"--json", "--", "-SoftMgt", "-List"});
  EXPECT_EQ(Json::parse(for_programs.out)["volume_count"], 1);
}

TEST(KvlMediaCheck, WritesOneJsonObjectWithAllKeys) {
  const CheckWorld world("two volumes; remove 2; link 1/a\\xFF\\\\ nowhere");
  Outcome seen =
      world.Companion({"check", "{}", "--installer", "installer", "--json"},
                      {{"TMPDIR", "{tmp}"}, {"PATH", "/usr/bin:/bin"}, {"KVL_OS", "linux"}});
  seen.out = WithoutFreeBytes(seen.out);
  const std::string media = world.Path("1"), staging = world.Path("tmp/<identifier>");
  const std::string installer = "/inst/linux/code/bin/installer";
  std::uintmax_t bytes = 0;
  std::istringstream list(
      "StartGUI.sh StartTUI.sh inst/common/reffiles/list inst/linux/code/bin/installer "
      "inst/linux/reffiles/list inst/volumes.txt media.db media.xml meta.TOCxml");
  const Lines names(std::istream_iterator<std::string>(list), {});
  for (const std::string& name : names) bytes += fs::file_size(media + "/" + name);
  const Environment variables = VariablesFrom(
      world, {.media = staging,
              .original = media,
              .found = {{"KVLAdmInstVolumesCount", "2"}, {"KVLAdmInstMTBDIR", "SET-A"}}});
  const Json expected = {
      {"format", 1},
      {"fine", false},
      {"expectation", "installer-runs"},
      {"status", nullptr},
      {"start", "installer-runs"},
      {"media", media},
      {"found_in", world.Path(".")},
      {"os", "linux"},
      {"os_source", "environment"},
      {"installer_name", "installer"},
      {"installer_name_source", "option"},
      {"layout", "unknown"},
      {"volume_count", 2},
      {"tag", "SET-A"},
      {"volumes",
       {{{"number", 1}, {"directory", media}, {"tag", "SET-A"}, {"state", "found"}},
        {{"number", 2}, {"directory", world.Path("2")}, {"tag", ""}, {"state", "missing"}}}},
      {"installer", {{"path", media + installer}, {"source", "media"}}},
      {"staged", true},
      {"staging",
       {{"directory", staging},
        {"files", 9},
        {"directories", 7},
        {"bytes", bytes},
        {"free_bytes", 0},
        {"free_entries", 0},
        {"names", names}}},
      {"command", Lines{staging + installer, "-CDpath", staging}},
      {"variables", variables},
      {"messages",
       {" INFO: " + media + installer,
        " INFO: Installer found in current media: \"" + media + installer + "\".",
        " INFO: This media is composed of 2 volumes.", "       Volume 1 found in: " + media}},
      {"findings",
       {{{"code", "volume-missing"},
         {"severity", "warning"},
         {"path", world.Path("2/2.txt")},
         {"text", "volume 2 has no marker"},
         {"remedy", "copy the whole volume there"}},
        {{"code", "dangling-link"},
         {"severity", "warning"},
         {"path", world.Path("1/a\\xFF\\\\")},
         {"text", "this link leads nowhere"},
         {"remedy", "restore what the link leads to, or remove the link if nothing needs it"}}}},
      {"further", Json::object()},
  };
  EXPECT_EQ(seen, (Outcome{1, expected.dump(2) + "\n", ""}));
}

TEST(FailingOutput, IsReported) {
  const std::vector<std::pair<const char*, int>> kinds = {
      {"/dev/full", O_WRONLY}, {"/dev/null", O_RDONLY}, {nullptr, 0}};
  for (const auto& [file, how] : kinds) {
    SCOPED_TRACE(file == nullptr ? "closed" : file);
    const auto send = [file = file, how = how] {
      ::close(STDOUT_FILENO);
      if (file != nullptr) ::open(file, how);
    };
    const CheckWorld world("file setup #!/bin/sh\\n; file payload/file x");
    for (const Lines& arguments :
         {Lines{"--help"}, Lines{"--version"}, Lines{"make", "--help"}, Lines{"check", "-h"},
          Lines{"check", "payload"}, Lines{"check", "--json", "payload"},
          Lines{"verify", "payload"}, Lines{"verify", "--json", "payload"},
          Lines{"clean", "payload"}}) {
      world.ExpectRefused(
          world.Companion(arguments, {}, send),
          "the report cannot be written: standard output; check the file or program that "
          "receives it");
    }
    world.ExpectRefused(
        world.MakeMedia({}, "media", send),
        "the media was made, but the report cannot be written: standard output; run kvl-media "
        "check to see whether the media starts");
    EXPECT_TRUE(fs::exists(world.Path("media/StartTUI.sh")));
  }
}

TEST(KvlMediaCheck, ShortensATextThatNoArgumentCanHold) {
  const std::string longest(MediaReport::kLongestText, 'x');
  EXPECT_EQ(longest.size(), 131'072U);
  EXPECT_EQ(ShownText(longest), longest);
  EXPECT_LT(ShownText(longest + "x").size(), longest.size());
}

TEST(KvlMediaCheck, GivesEachFindingACodeOfAFewWords) {
  for (const FindingRow& row : FindingCatalogue()) {
    EXPECT_THAT(row.code, testing::ContainsRegex("^[a-z]+(-[a-z]+)*$")) << row.text;
  }
}

}  // namespace
}  // namespace kvl::test
