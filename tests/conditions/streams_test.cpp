// Whole runs with standard streams that are closed, that lead the wrong way, or that lead to one
// place: what is written where, and what of it is the installer's.

#include "tests/conditions/worlds.h"
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

class Streams : public testing::TestWithParam<Useless> {
 protected:
  /// Launches with these streams, and compares everything but the messages that cannot be seen.
  static void ExpectRunWithThem(LaunchWorld& world, LaunchPlan plan, ExpectedRun expected) {
    const Useless& useless = GetParam();
    plan.before = [&] { useless.Make(); };
    const LaunchSeen seen = world.Run(plan);
    if (useless.Has(STDOUT_FILENO)) expected.out = "";
    if (useless.Has(STDERR_FILENO)) expected.err = "";
    ExpectRun(world, seen, expected);
    if (seen.child.started) {
      EXPECT_EQ(seen.child.facts.at("descriptors"), useless.LeftOpen());
    }
  }
};

TEST_P(Streams, OfNoUseLoseWhatIsWrittenToThem) {
  InPlaceAndStaged([](LaunchWorld& world, ExpectedRun expected) {
    expected.status = 7;
    expected.out += "installing\n";
    ExpectRunWithThem(world, {.env = {{"FAKE_EXIT", "7"}, {"FAKE_PRINT", "installing\n"}}},
                      expected);
  });
}

TEST_P(Streams, OfNoUseLoseTheMessagesOfAFailedStaging) {
  ExternalWorld world;
  fs::remove(world.Path("1/media.xml"));
  ExpectedRun expected =
      FailedFromExternal("{staging}/", "lstat - {1}/media.xml - No such file or directory");
  expected.left = {.media = "1", .pieces = {"inst", "meta.TOCxml"}, .script_for = ""};
  ExpectRunWithThem(world, {.arguments = {"-installerPath", "{ext}"}}, expected);
}

TEST_P(Streams, OfNoUseLoseTheMessagesOfAnInstallerThatCannotBeRun) {
  LaunchWorld world;
  world.OneVolume();
  SetMode(world.Path(InstallerOf("1")), 0644);
  ExpectRunWithThem(world, {}, NotStarted(InPlace()));
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

TEST(OneStream, ForEverythingHoldsAllOfItInItsOrder) {
  for (const auto& [flags, before] : {std::pair(O_TRUNC, ""), {O_APPEND, "before\n"}}) {
    LaunchWorld world;
    world.VolumeMissing();
    const std::string log = world.Directory().Write("report.log", "before\n");
    LaunchPlan plan = {.env = {{"FAKE_PRINT", "installing\n"}, {"FAKE_EXIT", "251"}}};
    plan.before = [&, flags = flags] {
      const int file = ::open(log.c_str(), O_WRONLY | O_CLOEXEC | flags);
      for (const int stream : {STDOUT_FILENO, STDERR_FILENO}) ::dup2(file, stream);
    };
    const LaunchSeen seen = world.Launch("1", plan);
    ExpectedRun expected = Staged();
    EXPECT_EQ(ReadFile(log), world.Text(before + expected.out + expected.err + "installing\n" +
                                        SaysCannotWait(CommandOf(expected.arguments))));
    expected.status = 255;
    expected.out = expected.err = "";
    ExpectRun(world, seen, expected);
  }
}

TEST(StandardInput, IsLeftToTheInstallerWhole) {
  InPlaceAndStaged([](LaunchWorld& world, ExpectedRun expected) {
    world.Directory().Write(InstallerOf("1"), "#!/bin/sh\nexec cat\n");
    const std::string answers = world.Directory().Write("answers", "yes\nno\n");
    const LaunchSeen seen = world.Run(
        {.before = [&] { ::dup2(::open(answers.c_str(), O_RDONLY | O_CLOEXEC), STDIN_FILENO); }});
    expected.out += "yes\nno\n";
    expected.arguments = {};  // this installer writes no report
    ExpectRun(world, seen, expected);
  });
}

}  // namespace
}  // namespace kvl::test
