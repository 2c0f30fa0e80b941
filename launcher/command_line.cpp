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

struct CommandLineOption {
  std::string_view name;  ///< as it is given, compared exactly
  bool takes_value;       ///< the next argument, whatever it looks like
  void (*apply)(LauncherState& state, std::string_view value);
};

using Value = std::string_view;
constexpr CommandLineOption kOptions[] = {
    // Options
    /// Waits for the installer, as the launcher does anyway.
    {"-wait", kAlone, [](LauncherState& state, Value) { state.WaitFlag = true; }},
    /// Has no effect.
    {"-UI", kAlone, [](LauncherState& state, Value) { state.UIFlag = true; }},
    /// <NAME[=VALUE]> Sets a variable at once, for the rest of the run and for the installer.
    /// `NAME` alone gets the value `1`. It is too late for `KVL_Installer_EXE`, and for
    /// `CurrentMediaDir` unless `--odt` follows.
    {"-env", kWithValue, [](LauncherState&, Value setting) { ApplyEnvSetting(setting); }},
    /// <DIR> Names an external installer media. The launcher uses it if the current media holds
    /// no installer. It tries the sub-directory `1` first. The path must not hold a blank.
    {"-installerPath", kWithValue,
     [](LauncherState& state, Value media) { state.InstallerPathArg = media; }},
    /// Starts software management. It requires one of the next four options, which in turn
    /// require it. The launcher then never stages and does not look for volumes.
    {"-SoftMgt", kAlone, [](LauncherState& state, Value) { state.SoftMgt = true; }},
    /// Software management lists. Of this option and the next three, the last one given counts.
    {"-List", kAlone,
     [](LauncherState& state, Value) {
       state.SoftMgtAction = "List";
       state.SoftMgtReadOnly = true;
     }},
    /// Software management checks. The installer is told `Check1`.
    {"-Check", kAlone,
     [](LauncherState& state, Value) {
       state.SoftMgtAction = kCheckAction;
       state.SoftMgtReadOnly = true;
     }},
    /// Software management commits.
    {"-Commit", kAlone, [](LauncherState& state, Value) { state.SoftMgtAction = "Commit"; }},
    /// Software management rolls back.
    {"-Rollback", kAlone, [](LauncherState& state, Value) { state.SoftMgtAction = "Rollback"; }},
    /// Starts the installer `KVLInsAppliODT.exe`, and reads the media directory from
    /// `CurrentMediaDir` again.
    {"--odt", kAlone,
     [](LauncherState& state, Value) {
       state.WaitFlag = true;
       state.InstallerExeName = kOdtInstaller;
       state.MediaDir = CurrentMediaDir();
     }},
    /// Starts the installer from where it is, never staged. The installer gets this option,
    /// too.
    {"--mgt", kAlone,
     [](LauncherState& state, Value) {
       state.ManagementMode = true;
       state.Uninstall = false;
       state.PassThroughArgs.emplace_back("--mgt");
     }},
    /// Does the same as `--mgt`. The installer gets `--uninst`.
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
    // Message: ERROR: Bad [...] argument
    // Cause: `-env` or `-installerPath` is the last argument, without its value.
    // Remedy: Give the value as the next argument.
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
    // Message: ERROR: -SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback).
    // Cause: `-SoftMgt` stands alone.
    // Remedy: Add what is to be done.
    return "-SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback).";
  }
  if (state.SoftMgtAction == kCheckAction) state.SoftMgtAction = kCheckOption;
  // Message: ERROR: -[...] must be used with the -SoftMgt flag.
  // Cause: One of `-List`, `-Check`, `-Commit` and `-Rollback` is given without `-SoftMgt`.
  // Remedy: Add `-SoftMgt`.
  return "-" + state.SoftMgtAction + " must be used with the -SoftMgt flag.";
}

}  // namespace

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
