#include "launcher/installer_command.h"

namespace kvl {

std::string InstallerCommand(const std::string& installer_path,
                             const std::vector<std::string>& arguments) {
  std::string command =
      installer_path.starts_with('"') ? installer_path : "\"" + installer_path + "\"";
  for (const std::string& argument : arguments) command += " \"" + argument + "\"";
  return command;
}

}  // namespace kvl
