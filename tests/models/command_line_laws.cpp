#include "launcher/launcher.h"
#include "tests/models/laws.h"
#include "tests/models/models.h"
#include "tests/support/in_process.h"
#include "tests/support/scoped_env.h"

namespace kvl::test {

// Stored inputs of fuzzing refer to these words by number, so keep their order.
const std::vector<std::string> kCommandLineWords = SplitAt(
    "-wait;-UI;-env;-installerPath;-SoftMgt;-List;-Check;-Commit;-Rollback;--odt;--mgt;--uninst;"
    "-CDpath;--var;-Wait;-wait ;;-;CurrentMediaDir=/x/'y'//;A=b=c;A=;=x;=;B;CurrentMediaDir;"
    "-Check1;-envA=b;a b;\";\\",
    ";");

namespace {

constexpr bool kWithoutWaiting = false;

/// Every field by its name, and how reading the command line ended.
struct Reading {
  std::map<std::string, std::string> fields = {};
  std::vector<std::string> pass_through = {};
  Environment env = {};
  std::string err = {};
  bool ended = false;  ///< the process would have ended, with status 1
};

std::string Text(bool value) {
  return value ? "yes" : "no";
}

std::map<std::string, std::string> FieldsOf(const Launcher& launcher) {
  return {{"wait", Text(launcher.WaitFlag)},
          {"ui", Text(launcher.UIFlag)},
          {"interactive", Text(launcher.InteractiveSession)},
          {"installer path", launcher.InstallerPathArg},
          {"softmgt", Text(launcher.SoftMgt)},
          {"read only", Text(launcher.SoftMgtReadOnly)},
          {"management", Text(launcher.ManagementMode)},
          {"copied", Text(launcher.InstallerCopied)},
          {"uninstall", Text(launcher.Uninstall)},
          {"action", launcher.SoftMgtAction},
          {"media", launcher.MediaDir.Str()},
          {"common", launcher.CommonDirPrefix},
          {"exe", launcher.InstallerExeName},
          {"installer", launcher.InstallerPath},
          {"os", launcher.OsName}};
}

/// The fields that an option without a value sets.
const std::map<std::string, std::map<std::string, std::string>> kEffects = {
    {"-wait", {{"wait", "yes"}}},
    {"-UI", {{"ui", "yes"}}},
    {"-SoftMgt", {{"softmgt", "yes"}}},
    {"-List", {{"action", "List"}, {"read only", "yes"}}},
    {"-Check", {{"action", "Check1"}, {"read only", "yes"}}},
    {"-Commit", {{"action", "Commit"}}},
    {"-Rollback", {{"action", "Rollback"}}},
    {"--odt", {{"wait", "yes"}, {"exe", "KVLInsAppliODT.exe"}, {"media", "(read again)"}}},
    {"--mgt", {{"management", "yes"}, {"uninstall", "no"}}},
    {"--uninst", {{"management", "yes"}, {"uninstall", "yes"}}},
};

class CommandLineModel {
 public:
  explicit CommandLineModel(Environment env) {
    reading_.env = std::move(env);
    reading_.fields = {{"wait", "no"},         {"ui", "no"},          {"interactive", "yes"},
                       {"installer path", ""}, {"softmgt", "no"},     {"read only", "no"},
                       {"management", "no"},   {"copied", "no"},      {"uninstall", "no"},
                       {"action", ""},         {"media", MediaDir()}, {"common", ""},
                       {"exe", "installer"},   {"installer", ""},     {"os", ""}};
  }

  Reading Read(const ArgumentList& arguments) && {
    for (const auto& argument : arguments) {
      if (!argument) break;
      Take(*argument);
    }
    if (!waiting_option_.empty()) {
      Fail("Bad " + waiting_option_ + " argument");
    } else {
      CheckSoftwareManagement();
    }
    return std::move(reading_);
  }

 private:
  std::string MediaDir() { return ModelOfPath(reading_.env["CurrentMediaDir"]).Text(); }

  void Fail(const std::string& message) {
    reading_.ended = true;
    reading_.err = "ERROR: " + message + "\n";
  }

  void Take(const std::string& word) {
    if (waiting_option_ == "-env") {
      Set(word);
    } else if (!waiting_option_.empty()) {
      reading_.fields["installer path"] = word;
    } else if (word == "-env" || word == "-installerPath") {
      waiting_option_ = word;
      return;
    } else if (kEffects.contains(word)) {
      for (const auto& [field, value] : kEffects.at(word)) reading_.fields[field] = value;
      if (word == "--odt") reading_.fields["media"] = MediaDir();
      if (word == "--mgt" || word == "--uninst") reading_.pass_through.push_back(word);
    } else {
      reading_.pass_through.push_back(word);
    }
    waiting_option_.clear();
  }

  /// The system refuses an empty name and a name that contains "=".
  void Set(const std::string& setting) {
    if (setting.empty() || setting.front() == '=') return;
    const std::size_t name_end = setting.find('=');
    reading_.env[setting.substr(0, name_end)] =
        name_end == std::string::npos ? "1" : setting.substr(name_end + 1);
  }

  void CheckSoftwareManagement() {
    const bool has_action = !reading_.fields["action"].empty();
    const bool is_management = reading_.fields["softmgt"] == "yes";
    if (is_management && !has_action) {
      Fail("-SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback).");
    } else if (has_action && !is_management) {
      const std::string action = reading_.fields["action"];
      Fail((action == "Check1" ? "-Check" : "-" + action) +
           " must be used with the -SoftMgt flag.");
    }
  }

  Reading reading_;
  std::string waiting_option_;  // takes the next argument
};

}  // namespace

void CheckCommandLineLaws(const ArgumentList& arguments) {
  std::vector<const char*> pointers = {"kvl-launcher"};
  for (const auto& argument : arguments) pointers.push_back(argument ? argument->c_str() : nullptr);
  pointers.push_back(nullptr);

  const Environment before = {{"CurrentMediaDir", "/media//1/"}, {"A", "old"}};
  const ScopedEnv scoped(before);
  Reading seen;
  const InProcessOutcome outcome = RunInProcess([&] {
    const Launcher launcher(static_cast<int>(pointers.size()) - 1, pointers.data(), "installer",
                            kWithoutUI, kWithoutWaiting);
    seen.fields = FieldsOf(launcher);
    seen.pass_through = launcher.PassThroughArgs;
  });

  const Reading expected = CommandLineModel(before).Read(arguments);
  RequireEqual("status", outcome.status, expected.ended ? std::optional(1) : std::nullopt);
  RequireEqual("standard output", outcome.out, std::string());
  RequireEqual("standard error", outcome.err, expected.err);
  RequireEqual("environment", CurrentEnvironment(), expected.env);
  if (expected.ended) return;
  RequireEqual("fields", seen.fields, expected.fields);
  RequireEqual("arguments passed on", seen.pass_through, expected.pass_through);
}

}  // namespace kvl::test
