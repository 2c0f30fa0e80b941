// What the sample installer shows of its arguments and variables: what the launcher gives to it.

#include "tests/examples/sample_world.h"
#include "tests/launcher/expected_environment.h"

namespace kvl::test {
namespace {

class SampleInstallerShows : public testing::Test, protected SampleWorld {
 protected:
  /// What is shown of an installer with these arguments whose environment is made from that, when
  /// nothing but `given` was set before.
  std::string Shown(const std::vector<std::string>& arguments, const Prepared& from,
                    Environment given = {}) const {
    given.insert({{"KVL_Installer_EXE", "sample-installer"},
                  {"KVL_LIBPATH_VARNAME", "LD_LIBRARY_PATH"},
                  {"KVL_OS", "linux"},
                  {"PATH", "/usr/bin:/bin"},
                  {"TMPDIR", Path("tmp")}});
    std::string text = "Arguments:\n";
    for (const std::string& argument : arguments) text += "  " + argument + "\n";
    text += "Variables:\n";
    static const std::regex is_shown("(KVL|ORB).*|TEMP|PATH");
    for (const auto& [name, value] : InstallerEnvironment(*this, given, from)) {
      if (std::regex_match(name, is_shown)) text += "  " + name + "=" + value + "\n";
    }
    return text;
  }

  /// Starts the media whose first volume is that of `from`, found by such a search, and claims what is
  /// shown of it.
  void ExpectShown(const std::string& first_volume, const std::string& search,
                   const Prepared& from) const {
    Expect(first_volume, {"--show-environment"},
           {0, search + Shown({"-CDpath", from.media, "--show-environment"}, from)});
  }
};

TEST_F(SampleInstallerShows, ItsArgumentsAndEveryVariableInPlace) {
  Media();
  Expect("media", {"--var", "a b=c  d", "--show-environment", "--var", "", "e"},
         {0, Shown({"-CDpath", "{media}", "--var", "a b=c  d", "--show-environment", "--var", "e"},
                   {.media = "{media}"})});
}

TEST_F(SampleInstallerShows, WhereTheFurtherVolumesAre) {
  Media({.volumes = 3});
  ExpectShown("media/1", says::Volumes("3", {"{media/1}", "{media/2}", "{media/3}"}),
              {.media = "{media/1}",
               .found = {{"KVLAdmInstVolumesCount", "3"},
                         {"KVLAdmInstMTBDIR", "SAMPLE-1"},
                         {"KVLAdmInstVolumePath_2", "{media/2}"},
                         {"KVLAdmInstVolumePath_3", "{media/3}"}}});
}

TEST_F(SampleInstallerShows, WhereAnOuterSetOfVolumesIs) {
  Media({.layout = "am"});
  const std::string first = "{media/1/media/1}", second = "{media/2/media/2}";
  ExpectShown("media/1/media/1",
              says::Volumes("2", {first}) + says::FoundAm("1", "{media/1}") +
                  says::FoundAm("2", "{media/2}") + says::Found("2", second),
              {.media = first,
               .found = {{"KVLAdmInstVolumesCount", "2"},
                         {"KVLAdmInstMTBDIR", "SAMPLE-1-AM"},
                         {"KVLAdmInstFirstAMVolume", "1"},
                         {"KVLAdmInstFirstAMPath", "{media/1}"},
                         {"KVLAdmInstAMRelativePath", "media"},
                         {"KVLAdmInstVolumePath_2", second}}});
}

TEST_F(SampleInstallerShows, TheStagedCopyAndTheOriginalMedia) {
  Media({.volumes = 3});
  fs::remove_all(Path("media/2"));
  Outcome outcome = Start("media/1", {"--show-environment"});
  outcome.out = WithoutStaging(outcome.out);
  const Prepared from = {
      .media = "<staging>",
      .original = "{media/1}",
      .found = {{"KVLAdmInstVolumesCount", "3"}, {"KVLAdmInstMTBDIR", "SAMPLE-1"}}};
  ExpectOutcome(outcome,
                {0,
                 FindsInstallerIn("media/1") + says::Volumes("3", {"{media/1}", "", "{media/3}"}) +
                     Shown({"-CDpath", "<staging>", "--show-environment"}, from),
                 says::Missing() + says::Staged()});
}

TEST_F(SampleInstallerShows, WhatSoftwareManagementIsGiven) {
  const std::string media = "the suite/media/1";
  Media({.directory = media});
  for (const std::string action : {"List", "Check", "Commit", "Rollback"}) {
    const bool is_list = action == "List";
    const std::string told = action == "Check" ? "Check1" : action;
    const std::string nothing = "othing is installed in: {the suite}\n";
    Expect(media, {"--show-environment", "-SoftMgt", "-" + action},
           {is_list ? 0 : 7,
            Shown({"--show-environment", "--mgt", "{the suite}", "--var",
                   "Radio_KVLSoftwareMgtCheck?" + told + "=true"},
                  {.media = "{" + media + "}", .software_management = true}) +
                (is_list ? "N" + nothing : ""),
            is_list ? "" : "sample-installer: n" + nothing});
  }
}

TEST_F(SampleInstallerShows, OldValuesInBackupsAndLineFeedsAsText) {
  Media();
  const Environment shown = {
      {"ORBInst", "two\\nlines\\n & more"}, {"LD_LIBRARY_PATH", "/old/lib"}, {"KVL_own", "&\\n"}};
  Expect("media", {"--show-environment", "--target", "{target}"},
         {0, Shown({"-CDpath", "{media}", "--show-environment", "--target", "{target}"},
                   {.media = "{media}"}, shown) +
                 SaysInstalled({.volumes = {"media"}})},
         {.env = {{"ORBInst", "two\nlines\\n & more"},
                  {"LD_LIBRARY_PATH", "/old/lib"},
                  {"KVL_own", "&\n"},
                  {"another", "not shown"}}});
}

}  // namespace
}  // namespace kvl::test
