#include "tests/companion/whole_round.h"

#include "tests/launcher/launch_world.h"
#include "tests/support/pattern.h"

namespace kvl::test {
namespace {

/// Returns a step as text, without numbers of free bytes and random names.
std::string StepText(const std::string& name, const Outcome& seen) {
  return name + ": " + std::to_string(seen.status) + "\n" +
         WithoutBytes(WithoutIdentifiers(seen.out + "--\n" + seen.err));
}

}  // namespace

RoundWorld::RoundWorld() {
  fs::copy_file(BuiltProgram("fake_installer"), Path("setup"),
                fs::copy_options::overwrite_existing);
  Directory().Link("link", "media/1/StartTUI.sh");
  if (HasMinisign()) MakeKeys();
}

std::string RoundWorld::Round(const Surroundings& surroundings) {
  for (const char* name : {"media", "tmp"}) fs::remove_all(Directory().Path(name));
  Directory().MakeDir("tmp");
  const Environment env = EnvIn(surroundings);

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
  const auto start = [&](const std::string& script) {
    steps.append(StepText("start", RunProgram({{Path(script), "--one", "two words"},
                                               Text(env),
                                               Path("."),
                                               {},
                                               surroundings.before})));
  };
  companion(make);
  for (const std::string& line : DescribeTree(Path("media"))) steps.append(line + "\n");
  companion({"check", "{media}", "--os", "linux", "--installer", "setup"});
  companion(verify);
  start("media/1/StartTUI.sh");
  if (fs::exists(Path("media/2"))) fs::rename(Path("media/2"), Path("media/away"));
  start("link");
  return steps;
}

std::string RoundWorld::CleanUp(const Surroundings& surroundings) const {
  return StepText("clean", Companion({"clean", "--yes"}, EnvIn(surroundings), surroundings.before));
}

Environment RoundWorld::EnvIn(const Surroundings& surroundings) const {
  Environment env = {{"PATH", "/usr/bin:/bin"}, {"TMPDIR", "{tmp}"}, {"FAKE_PRINT", "installed\n"}};
  env.insert(surroundings.env.begin(), surroundings.env.end());
  return env;
}

void RoundWorld::ExpectTheUsualRound(const Surroundings& surroundings) {
  if (usual_.empty()) {
    usual_ = Round();
    usual_cleaning_ = CleanUp();
  }
  EXPECT_EQ(Round(surroundings), usual_);
  EXPECT_EQ(CleanUp(surroundings),
            surroundings.cleaning.empty() ? usual_cleaning_ : Text(surroundings.cleaning));
}

}  // namespace kvl::test
