#include "console/descriptors.h"
#include "environment/environment.h"
#include "environment/variables.h"
#include "launcher/launcher.h"

int main(int argc, char** argv) {
  kvl::PrepareDescriptors(argc > 0 ? argv[0] : "");
  kvl::Launcher launcher(argc, argv, kvl::GetEnv(kvl::variables::kInstallerExe), kvl::kWithoutUI,
                         kvl::kWaitForInstaller);
  return launcher.Run();
}
