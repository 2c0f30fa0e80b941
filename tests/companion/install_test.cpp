// The companion as "cmake --install" puts it into a system. Skipped if this program does not lie in
// the directory that it was built in.

#include "tests/companion/check_world.h"

namespace kvl::test {
namespace {

/// Returns the value of a variable in the CMake cache of the build directory.
std::string Cached(const std::string& build, const std::string& name) {
  std::ifstream cache(build + "/CMakeCache.txt");
  for (std::string line; std::getline(cache, line);) {
    if (line.starts_with(name + ":")) return line.substr(line.find('=') + 1);
  }
  return {};
}

TEST(Companion, IsInstalledWithCompletionsAndManualPageOnly) {
  const std::string build = fs::path(BuiltProgram("..")).lexically_normal().parent_path();
  if (!fs::exists(build + "/CMakeCache.txt")) {
    GTEST_SKIP() << "this program is not in the directory it was built in";
  }
  if (::access(build.c_str(), W_OK) != 0) {
    GTEST_SKIP() << "this user cannot write the list of installed files into the build directory";
  }
  const std::string cmake = Cached(build, "CMAKE_COMMAND");
  if (::access(cmake.c_str(), X_OK) != 0) GTEST_SKIP() << "cmake is missing";

  const CheckWorld world;
  const std::string prefix = world.Path("prefix");
  const Outcome installed =
      RunProgram({{cmake, "--install", build, "--component", "companion", "--prefix", prefix},
                  {{"PATH", "/usr/bin:/bin"}},
                  world.Path(".")});
  const std::string program = prefix + "/bin/kvl-media";
  const std::string bash = prefix + "/share/bash-completion/completions/kvl-media";
  const std::string zsh = prefix + "/share/zsh/site-functions/_kvl-media";
  const std::string manual = prefix + "/share/man/man1/kvl-media.1";
  const std::string said = "-- Install configuration: \"" + Cached(build, "CMAKE_BUILD_TYPE") +
                           "\"\n-- Installing: " + program + "\n-- Installing: " + bash +
                           "\n-- Installing: " + zsh + "\n-- Installing: " + manual + "\n";
  EXPECT_EQ(installed, (Outcome{0, said, ""}));

  const auto contents = [](const std::string& file) { return DescribeContents(ReadFile(file)); };
  EXPECT_EQ(DescribeTree(prefix),
            (std::vector<std::string>{
                "d 755 bin", "d 755 share", "d 755 share/bash-completion",
                "d 755 share/bash-completion/completions", "d 755 share/man",
                "d 755 share/man/man1", "d 755 share/zsh", "d 755 share/zsh/site-functions",
                "f 644 share/bash-completion/completions/kvl-media = " +
                    contents(SourceFile("companion/completions/kvl-media.bash")),
                "f 644 share/man/man1/kvl-media.1 = " + contents(build + "/docs/kvl-media.1"),
                "f 644 share/zsh/site-functions/_kvl-media = " +
                    contents(SourceFile("companion/completions/_kvl-media")),
                "f 755 bin/kvl-media = " + contents(BuiltProgram("kvl-media"))}));

  const Outcome version = RunProgram({{program, "--version"}});
  EXPECT_EQ(version, world.Companion({"--version"}));
  EXPECT_EQ(version.status, 0);
}

}  // namespace
}  // namespace kvl::test
