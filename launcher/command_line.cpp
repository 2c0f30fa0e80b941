// The command line: the part of the Launcher that reads its arguments.
#include "environment/environment.h"
#include "environment/variables.h"
#include "launcher/exit_status.h"
#include "launcher/launcher.h"

namespace kvl {

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

namespace {

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

}  // namespace

Launcher::Launcher(int argc, const char* const* argv, const std::string& installer_exe_name,
                   bool initial_ui_flag, bool initial_wait_flag)
    : WaitFlag(initial_wait_flag),
      UIFlag(initial_ui_flag),
      MediaDir(CurrentMediaDir()),
      InstallerExeName(installer_exe_name) {
  ParseCommandLine(ArgumentReader(argc, argv));
}

void Launcher::ParseCommandLine(ArgumentReader arguments) {
  while (!arguments.AtEnd()) ApplyArgument(arguments);
  CheckSoftwareManagement();
}

void Launcher::ApplyArgument(ArgumentReader& arguments) {
  const auto value_of = [&](std::string_view option) {
    if (arguments.AtEnd()) {
      Message("Bad " + std::string(option) + " argument", kError, kMarked);
      EndProcess(ExitStatus::kBadCommandLine);
    }
    return arguments.Take();
  };

  const std::string_view argument = arguments.Take();
  if (argument == "-wait") {
    WaitFlag = true;
  } else if (argument == "-UI") {
    UIFlag = true;
  } else if (argument == "-env") {
    ApplyEnvSetting(value_of(argument));
  } else if (argument == "-installerPath") {
    InstallerPathArg = value_of(argument);
  } else if (argument == "-SoftMgt") {
    SoftMgt = true;
  } else if (argument == "-List") {
    SoftMgtAction = "List";
    SoftMgtReadOnly = true;
  } else if (argument == "-Check") {
    SoftMgtAction = kCheckAction;
    SoftMgtReadOnly = true;
  } else if (argument == "-Commit") {
    SoftMgtAction = "Commit";
  } else if (argument == "-Rollback") {
    SoftMgtAction = "Rollback";
  } else if (argument == "--odt") {
    WaitFlag = true;
    InstallerExeName = kOdtInstaller;
    MediaDir = CurrentMediaDir();
  } else if (argument == "--mgt" || argument == "--uninst") {
    ManagementMode = true;
    Uninstall = argument == "--uninst";
    PassThroughArgs.emplace_back(argument);
  } else {
    PassThroughArgs.emplace_back(argument);
  }
}

void Launcher::CheckSoftwareManagement() {
  if (SoftMgt == !SoftMgtAction.empty()) return;
  if (SoftMgt) {
    Message("-SoftMgt must be used with another flag (either -List, -Check, -Commit or -Rollback).",
            kError, kMarked);
  } else {
    if (SoftMgtAction == kCheckAction) SoftMgtAction = kCheckOption;
    Message("-" + SoftMgtAction + " must be used with the -SoftMgt flag.", kError, kMarked);
  }
  EndProcess(ExitStatus::kBadCommandLine);
}

}  // namespace kvl
