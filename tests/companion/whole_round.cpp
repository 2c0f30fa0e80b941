#include "tests/companion/whole_round.h"

#include "tests/launcher/launch_world.h"
#include "tests/support/pattern.h"

namespace kvl::test {
namespace {

/// One step in a text, without the bytes that the machine has free and the names that chance gives.
std::string StepText(const std::string& name, const Outcome& seen) {
  return name + ": " + std::to_string(seen.status) + "\n" +
         WithoutBytes(WithoutIdentifiers(seen.out + "--\n" + seen.err));
}

}  // namespace

RoundWorld::RoundWorld() {
  fs::copy_file(BuiltProgram("fake_installer"), Path("setup"),
                fs::copy_options::overwrite_existing);
  if (HasMinisign()) MakeKeys();
}

std::string RoundWorld::Round(const Surroundings& surroundings) {
  fs::remove_all(Directory().Path("media"));
  Environment env = {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", "{tmp}"}, {"FAKE_PRINT", "installed\n"}};
  env.insert(surroundings.env.begin(), surroundings.env.end());

  Lines make = {"make",
                "--tag",
                "T 1",
                "--installer",
                "{setup}",
                "--launcher",
                BuiltProgram("kvl-launcher"),
                "--presorted",
                "--layout",
                "sibling",
                "--jobs",
                "4"};
  Lines verify = {"verify", "{media/1}", "{media/2}"};
  if (HasMinisign()) {
    make.insert(make.end(), {"--sign", "{key}"});
    verify.insert(verify.end(), {"--key", "{key.pub}"});
  }
  make.insert(make.end(), {"{payload}", "{media}"});

  std::string steps;
  const auto companion = [&](const Lines& arguments) {
    steps.append(StepText(arguments[0], Companion(arguments, env, surroundings.before)));
  };
  const auto start = [&] {
    steps.append(StepText("start", RunProgram({{Path("media/1/StartTUI.sh"), "--one", "two words"},
                                               Text(env),
                                               Path("."),
                                               {},
                                               surroundings.before})));
  };
  companion(make);
  for (const std::string& line : DescribeTree(Path("media"))) steps.append(line + "\n");
  companion({"check", "{media}", "--os", "linux", "--installer", "setup"});
  companion(verify);
  start();
  if (fs::exists(Path("media/2"))) fs::rename(Path("media/2"), Path("media/away"));
  start();
  companion({"clean", "--yes"});
  return steps;
}

void RoundWorld::ExpectTheUsualRound(const Surroundings& surroundings) {
  if (usual_.empty()) usual_ = Round();
  EXPECT_EQ(Round(surroundings), usual_);
}

}  // namespace kvl::test
