// --show-environment of the sample installer: the arguments and variables from the launcher.

#include "tests/examples/sample_world.h"
#include "tests/launcher/expected_environment.h"

namespace kvl::test {
namespace {

class ShowEnvironment : public testing::Test, protected SampleWorld {
 protected:
  /// Returns the output for these arguments and the environment that the launcher makes from
  /// `from`. `given` is the environment of the launcher.
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
    const std::string shown = "(KVL|ORB).*|TEMP|PATH";
    for (const auto& [name, value] : InstallerEnvironment(*this, given, from)) {
      if (!MatchOf(name, shown).empty()) text += "  " + name + "=" + value + "\n";
    }
    return text;
  }
};

TEST_F(ShowEnvironment, PrintsArgumentsAndVariablesOfSoftwareManagement) {
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

TEST_F(ShowEnvironment, PrintsArgumentsAndOldValuesAsText) {
  Media();
  const Environment shown = {
      {"ORBInst", "two\\nlines\\n & more"}, {"LD_LIBRARY_PATH", "/old/lib"}, {"KVL_own", "&\\n"}};
  Expect("media",
         {"--var", "a b=c  d", "--show-environment", "--target", "{target}", "--var", "", "e"},
         {0, Shown({"-CDpath", "{media}", "--var", "a b=c  d", "--show-environment", "--target",
                    "{target}", "--var", "e"},
                   {.media = "{media}"}, shown) +
                 SaysInstalled({.volumes = {"media"}})},
         {.env = {{"ORBInst", "two\nlines\\n & more"},
                  {"LD_LIBRARY_PATH", "/old/lib"},
                  {"KVL_own", "&\n"},
                  {"another", "not shown"}}});
}

}  // namespace
}  // namespace kvl::test
