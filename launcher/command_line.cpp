#include "launcher/command_line.h"

#include <algorithm>
#include <string_view>

#include "environment/environment.h"
#include "environment/variables.h"

namespace kvl {
namespace {

using KVLInsIO::InsPath;

/// Hands out the arguments one by one. A null pointer among them counts as the end.
class ArgumentReader {
 public:
  /// Begins behind the first argument, the launcher's own name.
  ArgumentReader(int argc, const char* const* argv) {
    if (argv == nullptr || argc < 1) return;
    rest_ = argv + 1;
    left_ = argc - 1;
  }

  bool AtEnd() const { return left_ <= 0 || *rest_ == nullptr; }

  /// Must not be called at the end.
  std::string_view Take() {
    --left_;
    return *rest_++;
  }

 private:
  const char* const* rest_ = nullptr;
  int left_ = 0;
};

constexpr char kOdtInstaller[] = "KVLInsAppliODT.exe";

/// The stored text of "-Check" is on purpose not that of the option.
constexpr char kCheckAction[] = "Check1";
constexpr char kCheckOption[] = "Check";

InsPath CurrentMediaDir() {
  return InsPath(GetEnv(variables::kCurrentMediaDir));
}

/// NAME=VALUE, or NAME alone for the value "1". A "=" in front belongs to the name.
void ApplyEnvSetting(std::string_view setting) {
  const std::size_t equals = setting.find('=');
  if (equals == std::string_view::npos || equals == 0) {
    SetEnv(std::string(setting), "1");
  } else {
    SetEnv(std::string(setting.substr(0, equals)), std::string(setting.substr(equals + 1)));
  }
}

constexpr bool kAlone = false;
constexpr bool kWithValue = true;

using Value = std::string_view;
constexpr CommandLineOption kOptions[] = {
    {"-wait", kAlone, [](LauncherState& state, Value) { state.WaitFlag = true; }},
    {"-UI", kAlone, [](LauncherState& state, Value) { state.UIFlag = true; }},
    {"-env", kWithValue, [](LauncherState&, Value setting) { ApplyEnvSetting(setting); }},
    {"-installerPath", kWithValue,
     [](LauncherState& state, Value media) { state.InstallerPathArg = media; }},
    {"-SoftMgt", kAlone, [](LauncherState& state, Value) { state.SoftMgt = true; }},
    {"-List", kAlone,
     [](LauncherState& state, Value) {
       state.SoftMgtAction = "List";
       state.SoftMgtReadOnly = true;
     }},
    {"-Check", kAlone,
     [](LauncherState& state, Value) {
       state.SoftMgtAction = kCheckAction;
       state.SoftMgtReadOnly = true;
     }},
    {"-Commit", kAlone, [](LauncherState& state, Value) { state.SoftMgtAction = "Commit"; }},
    {"-Rollback", kAlone, [](LauncherState& state, Value) { state.SoftMgtAction = "Rollback"; }},
    {"--odt", kAlone,
     [](LauncherState& state, Value) {
       state.WaitFlag = true;
       state.InstallerExeName = kOdtInstaller;
       state.MediaDir = CurrentMediaDir();
     }},
    {"--mgt", kAlone,
     [](LauncherState& state, Value) {
       state.ManagementMode = true;
       state.Uninstall = false;
       state.PassThroughArgs.emplace_back("--mgt");
     }},
    {"--uninst", kAlone,
     [](LauncherState& state, Value) {
       state.ManagementMode = true;
       state.Uninstall = true;
       state.PassThroughArgs.emplace_back("--uninst");
     }},
};

/// Returns an error message, or nothing. What is no option goes to the installer.
std::string ApplyArgument(ArgumentReader& arguments, LauncherState& state) {
  const std::string_view argument = arguments.Take();
  const auto* const option =
      std::find_if(std::begin(kOptions), std::end(kOptions),
                   [&](const CommandLineOption& known) { return known.name == argument; });
  if (option == std::end(kOptions)) {
    state.PassThroughArgs.emplace_back(argument);
  } else if (!option->takes_value) {
    option->apply(state, {});
  } else if (arguments.AtEnd()) {
    return "Bad " + std::string(argument) + " argument";
  } else {
    option->apply(state, arguments.Take());
  }
  return {};
}

/// Returns an error message, or nothing.
std::string CheckSoftwareManagement(LauncherState& state) {
  if (state.SoftMgt == !state.SoftMgtAction.empty()) return {};
  if (state.SoftMgt) {
    return "-SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback).";
  }
  if (state.SoftMgtAction == kCheckAction) state.SoftMgtAction = kCheckOption;
  return "-" + state.SoftMgtAction + " must be used with the -SoftMgt flag.";
}

}  // namespace

std::span<const CommandLineOption> CommandLineOptions() {
  return kOptions;
}

std::string ReadCommandLine(int argc, const char* const* argv, LauncherState& state) {
  state.MediaDir = CurrentMediaDir();
  ArgumentReader arguments(argc, argv);
  while (!arguments.AtEnd()) {
    std::string error = ApplyArgument(arguments, state);
    if (!error.empty()) return error;
  }
  return CheckSoftwareManagement(state);
}

}  // namespace kvl
