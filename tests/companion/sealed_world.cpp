#include "tests/companion/sealed_world.h"

#include "tests/support/pattern.h"

namespace kvl::test {

SealedWorld::SealedWorld()
    : CheckWorld(
          "file setup #!/bin/sh\\n; file launcher #!/bin/sh\\n; file payload/1/a one; "
          "file payload/1/b/program two; mode 755 payload/1/b/program; file payload/2/\\xFFc "
          "three; "
          "file payload/2/a four; dir payload/2/empty") {}

void SealedWorld::Make(const std::string& layout, const Lines& further,
                       const std::string& directory) {
  Lines arguments = {"make", "--tag", "T 1", "--installer", "setup", "--launcher", "launcher"};
  arguments.insert(arguments.end(), further.begin(), further.end());
  const Lines rest = layout == "single"
                         ? Lines{"payload/1", directory}
                         : Lines{"--presorted", "--layout", layout, "payload", directory};
  arguments.insert(arguments.end(), rest.begin(), rest.end());
  const Outcome seen = Companion(arguments, {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", Path(".")}});
  ASSERT_EQ(seen.status, 0) << seen.err;
}

void SealedWorld::MakeKeys(const std::string& name) const {
  const Outcome seen =
      RunProgram({{"/usr/bin/minisign", "-G", "-W", "-s", Path(name), "-p", Path(name + ".pub")}});
  ASSERT_EQ(seen.status, 0) << seen.err;
}

Outcome SealedWorld::Verify(const Lines& arguments) const {
  Lines all = {"verify"};
  for (const std::string& argument : arguments) all.push_back(Text(argument));
  return CompanionHere(all);
}

void SealedWorld::ExpectVerified(const Lines& arguments, int status,
                                 const std::string& report) const {
  Outcome seen = Verify(arguments);
  seen.out = Replaced(seen.out, ", [0-9]+ bytes?", ", <n> bytes");
  EXPECT_EQ(seen, (Outcome{status, Text(report), ""}));
}

Lines SealedWorld::FilesOf(const std::string& directory) const {
  Lines files;
  for (const auto& entry : fs::recursive_directory_iterator(Path(directory))) {
    if (entry.is_regular_file()) files.push_back(entry.path().lexically_relative(Path(".")));
  }
  std::sort(files.begin(), files.end());
  return files;
}

}  // namespace kvl::test
