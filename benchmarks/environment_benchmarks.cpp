// Benchmarks of setting the installer's environment, with few and with many inherited variables.
#include <benchmark/benchmark.h>
#include <cstdlib>
#include <string>

#include "environment/environment.h"
#include "environment/installer_environment.h"

namespace {

void SetInstallerEnvironment(benchmark::State& state) {
  ::clearenv();
  for (int i = 0; i < state.range(0); ++i) kvl::SetEnv("INHERITED_" + std::to_string(i), "value");
  const kvl::InstallerSetting setting = {
      .media_dir = "/media/suite/1", .external_inst_slash = {}, .os_name = "linux"};
  for ([[maybe_unused]] auto round : state) {
    kvl::SetEnv("PATH", "/usr/bin:/bin");  // otherwise it grows with every round
    kvl::SetInstallerEnvironment(setting);
  }
  state.SetComplexityN(state.range(0));
}
BENCHMARK(SetInstallerEnvironment)->Arg(10)->Arg(100)->Arg(1000)->Arg(10000)->Complexity();

}  // namespace
