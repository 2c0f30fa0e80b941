#include "console/logger.h"

#include "console/signals.h"
#include "tests/support/outcome.h"

namespace kvl::test {
namespace {

constexpr int kNoLevel = 7;

/// Returns what one message writes to the two streams.
Outcome Said(const std::string& text, int level, bool marked = kMarked) {
  return Catch([&] { Logger().Message(text, level, marked); });
}

TEST(Logger, ThatCollectsGetsBothStreamsAndShowsNothing) {
  std::vector<std::string> collected;
  const Outcome outcome = Catch([&] {
    Logger logger([&](std::string_view message) { collected.emplace_back(message); });
    logger.Message("one\ntwo", kInformation, kMarked);
    logger.Message("", kError, kMarked);
    logger.Message("three", kContinuation, kMarked);
  });
  EXPECT_THAT(collected, ElementsAre(" INFO: one\n       two\n", "ERROR: \n", "       three\n"));
  EXPECT_EQ(outcome, Outcome());
}

TEST(Logger, WritesThePrefixOfTheLevelToItsStreamMarkedOrNot) {
  struct Row {
    int level;
    std::string prefix;
    int stream;
  };
  const std::vector<Row> rows = {
      {3, "ERROR: ", STDERR_FILENO},  {2, " WARN: ", STDERR_FILENO},
      {1, " INFO: ", STDOUT_FILENO},  {0, "       ", STDOUT_FILENO},
      {4, "       ", STDOUT_FILENO},  {kNoLevel, "       ", STDOUT_FILENO},
      {-1, "       ", STDOUT_FILENO}, {INT_MAX, "       ", STDOUT_FILENO},
  };
  for (const Row& row : rows) {
    for (const std::string text : {"text", ""}) {
      for (const bool marked : {kMarked, kUnmarked}) {
        const std::string line = row.prefix + text + "\n";
        const bool is_error = row.stream == STDERR_FILENO;
        EXPECT_EQ(Said(text, row.level, marked),
                  (Outcome{0, is_error ? "" : line, is_error ? line : ""}));
      }
    }
  }
}

TEST(Logger, ContinuesOnTheStreamOfTheLastMessageWithALevel) {
  const Outcome said = Catch([] {
    Logger logger;
    int number = 0;
    for (const int level : {kContinuation, kWarning, kContinuation, kContinuation, kInformation,
                            kContinuation, kContinuation, kError, kContinuation}) {
      logger.Message(std::to_string(++number), level, kMarked);
      logger.Message("stray", kNoLevel, kMarked);
    }
  });
  const std::string stray = "       stray\n";
  EXPECT_EQ(said, (Outcome{0,
                           "       1\n" + stray + " INFO: 5\n" + stray + "       6\n" + stray +
                               "       7\n" + stray,
                           " WARN: 2\n" + stray + "       3\n" + stray + "       4\n" + stray +
                               "ERROR: 8\n" + stray + "       9\n" + stray}));
}

TEST(Logger, IndentsEveryFurtherLineUnderTheFirst) {
  struct Row {
    std::string text, shown;
  };
  const std::vector<Row> rows = {
      {"a\nb", "ERROR: a\n       b\n"},
      {"a\nb\nc", "ERROR: a\n       b\n       c\n"},
      {"a\n", "ERROR: a\n       \n"},
      {"a\n\n", "ERROR: a\n       \n       \n"},
      {"\n", "ERROR: \n       \n"},
      {"\na", "ERROR: \n       a\n"},
      {"a\n       b", "ERROR: a\n              b\n"},
      {"a\r\nb", "ERROR: a\r\n       b\n"},
  };
  for (const Row& row : rows) {
    EXPECT_EQ(Said(row.text, kError), (Outcome{0, "", row.shown}));
  }
}

TEST(Logger, NeitherChecksNorCutsTheText) {
  std::string bytes;
  for (int byte = 0; byte <= 255; ++byte) {
    if (byte != '\n') bytes.push_back(static_cast<char>(byte));
  }
  EXPECT_EQ(Said(bytes, kInformation).out, " INFO: " + bytes + "\n");
  const std::string long_text(3'000'000, 'x');
  EXPECT_EQ(Said(long_text, kInformation).out, " INFO: " + long_text + "\n");
}

/// A pipe in the place of standard output, within RunIsolated.
class PipeAsConsole {
 public:
  /// The flags belong to the end that receives the messages.
  explicit PipeAsConsole(int flags = 0) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) std::_Exit(99);
    reader_ = ends[0];
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[1]);
    ::fcntl(STDOUT_FILENO, F_SETFL, flags);
    ::alarm(60);  // ends an endless wait
  }

  void LoseReader() const { ::close(reader_); }

  /// Fills the pipe except for so many bytes, and returns its contents.
  std::string FillUpBut(int left) const {
    const int size = ::fcntl(STDOUT_FILENO, F_GETPIPE_SZ) - left;
    const std::string filling(static_cast<std::size_t>(size), '.');
    if (::write(STDOUT_FILENO, filling.data(), filling.size()) != size) std::_Exit(98);
    return filling;
  }

  /// Returns what one read gets.
  std::string Read() const {
    std::string text(65536, '\0');
    const ssize_t count = ::read(reader_, text.data(), text.size());
    text.resize(count > 0 ? static_cast<std::size_t>(count) : 0);
    return text;
  }

  std::string ReadToTheEnd() const {
    std::string text;
    for (std::string part; !(part = Read()).empty();) text += part;
    return text;
  }

 private:
  int reader_;
};

TEST(Logger, WritesEachMessageInOnePiece) {
  const Outcome outcome = RunIsolated([] {
    const PipeAsConsole console(O_DIRECT);  // a read gets what one write put in
    Logger logger;
    logger.Message("a\nb", kInformation, kMarked);
    logger.Message("c", kContinuation, kMarked);
    return console.Read() == " INFO: a\n       b\n" && console.Read() == "       c\n" ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
}

TEST(Logger, LosesOnlyTheMessagesThatTheConsoleDoesNotTake) {
  const std::vector<std::function<void()>> losses = {
      [] { PipeAsConsole().LoseReader(); },
      [] { ::dup2(::open("/dev/full", O_RDWR | O_CLOEXEC), STDOUT_FILENO); },
      [] { ::close(STDOUT_FILENO); },
  };
  for (const std::function<void()>& lose_the_console : losses) {
    const Outcome outcome = RunIsolated([&] {
      ::signal(SIGPIPE, SIG_DFL);
      const SignalScope signals;
      const int console = ::dup(STDOUT_FILENO);
      lose_the_console();
      Logger logger;
      logger.Message("lost", kInformation, kMarked);
      logger.Message("lost, too", kContinuation, kMarked);
      logger.Message("on the other stream", kWarning, kMarked);
      ::dup2(console, STDOUT_FILENO);
      logger.Message("again", kInformation, kMarked);
      return 0;
    });
    EXPECT_EQ(outcome, (Outcome{0, " INFO: again\n", " WARN: on the other stream\n"}));
  }
}

TEST(Logger, EndsTheProcessWhenNobodyReadsAndSigpipeIsNotIgnored) {
  const Outcome outcome = RunIsolated([] {
    ::signal(SIGPIPE, SIG_DFL);
    PipeAsConsole().LoseReader();
    Logger().Message("lost", kInformation, kMarked);
    return 0;
  });
  EXPECT_EQ(outcome.status, -SIGPIPE);
}

/// Returns once this thread of the process waits in the system.
void WaitUntilAsleep(pid_t thread) {
  const std::string path = "/proc/self/task/" + std::to_string(thread) + "/stat";
  for (std::string id, name, state; state != "S"; std::this_thread::yield()) {
    std::ifstream(path) >> id >> name >> state;
  }
}

/// Writes a message to a console that is full except for so many bytes. Once the message waits,
/// another thread does something and reads. Returns 0 if the message arrives whole behind the
/// filling.
int ShowOnAFullConsole(int flags, int left, const std::string& text,
                       const std::function<void()>& before_reading) {
  const PipeAsConsole console(flags);
  const std::string filling = console.FillUpBut(left);
  std::string seen;
  std::thread reader([&] {
    WaitUntilAsleep(::getpid());
    before_reading();
    seen = console.ReadToTheEnd();
  });
  Logger().Message(text, kInformation, kMarked);
  ::close(STDOUT_FILENO);
  reader.join();
  return seen == filling + " INFO: " + text + "\n" ? 0 : 1;
}

constexpr int kBlocking = 0;

TEST(Logger, WaitsForAConsoleThatIsFullAndGoesOnAfterASignal) {
  for (const int flags : {kBlocking, O_NONBLOCK}) {
    const Outcome outcome = RunIsolated([&] {
      struct sigaction action = {};
      action.sa_handler = [](int) {};
      ::sigaction(SIGUSR1, &action, nullptr);
      const std::string longer_than_the_console(1'000'000, 'x');
      return ShowOnAFullConsole(flags, 0, longer_than_the_console, [writer = ::pthread_self()] {
        ::pthread_kill(writer, SIGUSR1);
        WaitUntilAsleep(::getpid());
      });
    });
    EXPECT_EQ(outcome.status, 0) << flags;
  }
}

TEST(Logger, GoesOnWhenTheConsoleTookASingleByte) {
  const Outcome outcome = RunIsolated([] {
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::string text(page + 1 - std::string_view(" INFO: \n").size(), 'x');
    const PipeAsConsole rehearsal(O_NONBLOCK);
    rehearsal.FillUpBut(1);
    if (::write(STDOUT_FILENO, (text + " INFO: \n").data(), page + 1) != 1) return 2;
    return ShowOnAFullConsole(O_NONBLOCK, 1, text, [] {});
  });
  EXPECT_EQ(outcome.status, 0);
}

TEST(Logger, GivesUpWhenTheReaderOfAFullConsoleLeaves) {
  for (const int flags : {kBlocking, O_NONBLOCK}) {
    const Outcome outcome = RunIsolated([&] {
      const SignalScope signals;
      const PipeAsConsole console(flags);
      console.FillUpBut(0);
      std::thread reader([&] {
        WaitUntilAsleep(::getpid());
        console.LoseReader();
      });
      Logger().Message("lost", kInformation, kMarked);
      reader.join();
      return 0;
    });
    EXPECT_EQ(outcome.status, 0) << flags;
  }
}

}  // namespace
}  // namespace kvl::test
