// Whole runs with standard streams that are closed, opened the wrong way, or lead to one place:
// where messages go, and what the installer gets.

#include "tests/conditions/worlds.h"

namespace kvl::test {
namespace {

constexpr int kStreams = 3;

/// Makes the standard streams whose bits are set useless: closed, or open the wrong way.
void MakeUseless(unsigned streams, bool closed) {
  const auto each = [&](const std::function<void(int)>& change) {
    for (int stream = 0; stream < kStreams; ++stream) {
      if ((streams >> stream & 1U) != 0) change(stream);
    }
  };
  each([](int stream) {
    const int wrong = ::open("/dev/null", stream == STDIN_FILENO ? O_WRONLY : O_RDONLY);
    ::dup2(wrong, stream);
    if (wrong != stream) ::close(wrong);
  });
  if (closed) each(::close);
}

/// The way in which the streams are useless. Closed standard input is separate, because an emulator
/// occupies it.
const std::string kTheWrongWay = "TheWrongWay", kClosed = "Closed", kInputClosed = "InputClosed";

class Streams : public testing::TestWithParam<std::string> {
 protected:
  /// Launches with every combination of useless streams, and compares everything except the
  /// invisible messages.
  static void ExpectRuns(LaunchWorld& world, LaunchPlan plan, const ExpectedRun& expected) {
    const bool closed = GetParam() != kTheWrongWay;
    for (unsigned streams = 0; streams < 1U << kStreams; ++streams) {
      const auto is_useless = [=](int stream) { return (streams >> stream & 1U) != 0; };
      if (closed && is_useless(STDIN_FILENO) != (GetParam() == kInputClosed)) continue;
      std::string left_open;
      for (int stream = 0; stream < kStreams; ++stream) {
        if (!closed || !is_useless(stream)) left_open += std::to_string(stream) + " ";
      }
      SCOPED_TRACE(testing::Message() << "useless: " << streams << ", open: " << left_open);
      ExpectedRun visible = expected;
      if (is_useless(STDOUT_FILENO)) visible.out = "";
      if (is_useless(STDERR_FILENO)) visible.err = "";
      world.EmptyTmp();
      plan.before = [=] { MakeUseless(streams, closed); };
      const LaunchSeen seen = world.Expect(visible, plan);
      EXPECT_EQ(seen.child.started ? seen.child.facts.at("descriptors") : left_open, left_open);
    }
  }
};

INSTANTIATE_TEST_SUITE_P(EveryCombination, Streams,
                         testing::Values(kTheWrongWay, kClosed, kInputClosed),
                         [](const auto& row) { return row.param; });

TEST_P(Streams, OfNoUseLoseWhatIsWrittenToThem) {
  InPlaceAndStaged([](LaunchWorld& world, const ExpectedRun& expected) {
    ExpectRuns(world, {.env = {{"FAKE_EXIT", "7"}, {"FAKE_PRINT", "installing\n"}}},
               expected.Ends(7).Says(expected.out + "installing\n"));
  });
}

TEST_P(Streams, OfNoUseLoseTheMessagesOfAFailedStaging) {
  ExternalWorld world;
  fs::remove(world.Path("1/media.xml"));
  ExpectedRun expected =
      FailedFromExternal("{staging}/", "lstat - {1}/media.xml - No such file or directory");
  expected.left = {.media = "1", .pieces = {"inst", "meta.TOCxml"}, .script_for = ""};
  ExpectRuns(world, {.arguments = {"-installerPath", "{ext}"}}, expected);
}

TEST_P(Streams, OfNoUseLoseTheMessagesAboutAnInstallerThatCannotRun) {
  LaunchWorld world;
  SetMode(world.OneVolume().Path(InstallerOf("1")), 0644);
  ExpectRuns(world, {}, NotStarted(InPlace()));
}

TEST(OneStream, ForEverythingContainsAllOfItInOrder) {
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
    const ExpectedRun expected = Staged();
    EXPECT_EQ(ReadFile(log), world.Text(before + expected.out + expected.err + "installing\n" +
                                        says::CannotWait(CommandOf(expected.arguments))));
    ExpectRun(world, seen, expected.Ends(255).Says("").Warns(""));
  }
}

TEST(StandardInput, IsLeftCompletelyToTheInstaller) {
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
