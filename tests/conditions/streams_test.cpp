// Whole runs with standard streams that are closed, that lead the wrong way, or that lead to one
// place: what is written where, and what of it is the installer's.

#include "tests/conditions/external_world.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr int kStreams = 3;

/// Which standard streams are of no use, a bit for each, and in what way.
struct Useless {
  unsigned streams = 0;
  bool are_closed = false;  ///< otherwise they are there, but lead the wrong way

  bool Has(int stream) const { return (streams >> stream & 1U) != 0; }

  void Make() const {
    for (int stream = 0; stream < kStreams; ++stream) {
      if (!Has(stream)) continue;
      const int wrong = ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
      ::dup2(wrong, stream);
      if (wrong != stream) ::close(wrong);
    }
    for (int stream = 0; stream < kStreams && are_closed; ++stream) {
      if (Has(stream)) ::close(stream);
    }
  }

  std::string LeftOpen() const {
    std::string numbers;
    for (int stream = 0; stream < kStreams; ++stream) {
      if (!are_closed || !Has(stream)) numbers += std::to_string(stream) + " ";
    }
    return numbers;
  }

  std::string Name() const {
    std::string name = streams == 0 ? "AllOfUse" : are_closed ? "Closed" : "TheWrongWay";
    for (int stream = 0; stream < kStreams; ++stream) {
      if (Has(stream)) name += std::to_string(stream);
    }
    return name;
  }

  friend void PrintTo(const Useless& useless, std::ostream* out) { *out << useless.Name(); }
};

/// Launches with these streams, and compares everything but the messages that cannot be seen.
void ExpectRunWith(const Useless& useless, LaunchWorld& world, LaunchPlan plan,
                   ExpectedRun expected) {
  plan.before = [&] { useless.Make(); };
  world.EmptyTmp();
  const LaunchSeen seen = world.Run(plan);
  if (useless.Has(STDOUT_FILENO)) expected.out = "";
  if (useless.Has(STDERR_FILENO)) expected.err = "";
  ExpectRun(world, seen, expected);
  if (seen.child.started) {
    EXPECT_EQ(seen.child.facts.at("descriptors"), useless.LeftOpen());
  }
}

class Streams : public testing::TestWithParam<Useless> {
 protected:
  LaunchWorld world_;
};

TEST_P(Streams, OfNoUseLoseWhatIsWrittenToThemInPlace) {
  world_.OneVolume();
  ExpectedRun expected = InPlace();
  expected.status = 7;
  expected.out += "installing\n";
  ExpectRunWith(GetParam(), world_, {.env = {{"FAKE_EXIT", "7"}, {"FAKE_PRINT", "installing\n"}}},
                expected);
}

TEST_P(Streams, OfNoUseLoseWhatIsWrittenToThemWhenStaged) {
  world_.VolumeMissing();
  ExpectedRun expected = Staged();
  expected.status = 7;
  expected.out += "installing\n";
  ExpectRunWith(GetParam(), world_, {.env = {{"FAKE_EXIT", "7"}, {"FAKE_PRINT", "installing\n"}}},
                expected);
}

TEST_P(Streams, OfNoUseLoseTheMessagesOfAFailedStaging) {
  ExternalWorld world;
  std::filesystem::remove(world.Path("1/media.xml"));
  ExpectedRun expected =
      FailedFromExternal("{staging}/", "lstat - {1}/media.xml - No such file or directory");
  expected.left = {.media = "1", .pieces = {"inst", "meta.TOCxml"}, .script_for = ""};
  ExpectRunWith(GetParam(), world, {.arguments = {"-installerPath", "{ext}"}}, expected);
}

TEST_P(Streams, OfNoUseLoseTheMessagesOfAnInstallerThatCannotBeRun) {
  world_.OneVolume();
  SetMode(world_.Path(InstallerOf("1")), 0644);
  ExpectedRun expected = InPlace();
  expected.status = 255;
  expected.err = SaysCannotWait(CommandOf(expected.arguments));
  expected.arguments = {};
  ExpectRunWith(GetParam(), world_, {}, expected);
}

std::vector<Useless> EveryCombination() {
  std::vector<Useless> all = {{}};
  for (const bool are_closed : {false, true}) {
    for (unsigned streams = 1; streams < 1U << kStreams; ++streams) {
      all.push_back({streams, are_closed});
    }
  }
  return all;
}

INSTANTIATE_TEST_SUITE_P(EveryCombination, Streams, testing::ValuesIn(EveryCombination()),
                         [](const auto& row) { return row.param.Name(); });

/// Opens the file in place of the two streams for output.
void SendBothTo(const std::string& path, int flags) {
  const int file = ::open(path.c_str(), O_WRONLY | O_CREAT | O_CLOEXEC | flags, 0644);
  ::dup2(file, STDOUT_FILENO);
  ::dup2(file, STDERR_FILENO);
}

TEST(OneStream, ForEverythingHoldsAllOfItInItsOrder) {
  for (const int flags : {0, O_APPEND}) {
    LaunchWorld world;
    world.VolumeMissing();
    const std::string log = world.Directory().Write("report.log", "before\n");
    LaunchPlan plan = {.env = {{"FAKE_PRINT", "installing\n"}, {"FAKE_EXIT", "251"}}};
    plan.before = [&] { SendBothTo(log, flags | (flags == 0 ? O_TRUNC : 0)); };
    const LaunchSeen seen = world.Launch("1", plan);
    ExpectedRun expected = Staged();
    EXPECT_EQ(ReadFile(log),
              world.Text((flags == 0 ? "" : "before\n") + expected.out + expected.err +
                         "installing\n" + SaysCannotWait(CommandOf(expected.arguments))));
    expected.status = 255;
    expected.out = expected.err = "";
    ExpectRun(world, seen, expected);
  }
}

TEST(StandardInput, IsLeftToTheInstallerWhole) {
  for (const bool staged : {false, true}) {
    LaunchWorld world;
    staged ? world.VolumeMissing() : world.OneVolume();
    const std::string installer =
        world.Directory().Write(InstallerOf("1"), "#!/bin/sh\nexec cat\n");
    const std::string answers = world.Directory().Write("answers", "yes\nno\n");
    const LaunchSeen seen = world.Run(
        {.before = [&] { ::dup2(::open(answers.c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO); }});
    ExpectedRun expected = staged ? Staged() : InPlace();
    expected.out += "yes\nno\n";
    expected.arguments = {};  // this installer writes no report
    ExpectRun(world, seen, expected);
  }
}

}  // namespace
}  // namespace kvl::test
