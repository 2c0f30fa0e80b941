#include "console/logger.h"

#include "console/signals.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr int kNoLevel = 7;

/// What one message makes the two streams show.
Outcome Said(const std::string& text, int level, bool marked = kMarked) {
  return Catch([&] { Logger().Message(text, level, marked); });
}

TEST(Logger, ThatCollectsGetsTheMessagesOfBothStreamsAndShowsNothing) {
  std::vector<std::string> collected;
  const Outcome outcome = Catch([&] {
    Logger logger([&](std::string_view message) { collected.emplace_back(message); });
    logger.Message("one\ntwo", kInformation, kMarked);
    logger.Message("", kError, kMarked);
    logger.Message("three", kContinuation, kMarked);
  });
  EXPECT_EQ(collected,
            (std::vector<std::string>{" INFO: one\n       two\n", "ERROR: \n", "       three\n"}));
  EXPECT_EQ(outcome.out, "");
  EXPECT_EQ(outcome.err, "");
}

TEST(Logger, PutsThePrefixOfTheLevelInFrontOnItsStream) {
  struct Row {
    int level;
    std::string out, err;
  };
  const std::vector<Row> rows = {
      {kError, "", "ERROR: text\n"},
      {kWarning, "", " WARN: text\n"},
      {kInformation, " INFO: text\n", ""},
      {kContinuation, "       text\n", ""},
      {4, "       text\n", ""},
      {kNoLevel, "       text\n", ""},
      {-1, "       text\n", ""},
      {INT_MAX, "       text\n", ""},
      {INT_MIN, "       text\n", ""},
  };
  for (const Row& row : rows) {
    const Outcome said = Said("text", row.level);
    EXPECT_EQ(said.out, row.out) << row.level;
    EXPECT_EQ(said.err, row.err) << row.level;
  }
}

TEST(Logger, NumbersItsLevelsFromZeroToThree) {
  EXPECT_EQ(Said("text", 3).err, "ERROR: text\n");
  EXPECT_EQ(Said("text", 2).err, " WARN: text\n");
  EXPECT_EQ(Said("text", 1).out, " INFO: text\n");
  EXPECT_EQ(Said("text", 0).out, "       text\n");
}

TEST(Logger, PutsAContinuationOnTheStreamOfTheMessageBefore) {
  struct Row {
    int level_before;
    std::string out, err;
  };
  const std::string lines = "       detail\n       more\n       stray\n";
  const std::vector<Row> rows = {{kError, "", "ERROR: text\n" + lines},
                                 {kWarning, "", " WARN: text\n" + lines},
                                 {kInformation, " INFO: text\n" + lines, ""},
                                 {kContinuation, "       text\n" + lines, ""}};
  for (const Row& row : rows) {
    const Outcome said = Catch([&] {
      Logger logger;
      logger.Message("text", row.level_before, kMarked);
      logger.Message("detail", kContinuation, kMarked);
      logger.Message("more", kContinuation, kMarked);
      logger.Message("stray", kNoLevel, kMarked);
    });
    EXPECT_EQ(said.out, row.out) << row.level_before;
    EXPECT_EQ(said.err, row.err) << row.level_before;
  }
}

TEST(Logger, FollowsTheLastMessageThatHadALevel) {
  const Outcome said = Catch([] {
    Logger logger;
    const std::vector<int> levels = {kContinuation, kWarning,      kContinuation, kInformation,
                                     kNoLevel,      kContinuation, kError,        kNoLevel};
    for (const int level : levels) logger.Message("text", level, kMarked);
  });
  EXPECT_EQ(said.out, "       text\n INFO: text\n       text\n       text\n");
  EXPECT_EQ(said.err, " WARN: text\n       text\nERROR: text\n       text\n");
}

TEST(Logger, KeepsTheStreamOfEachLoggerApart) {
  const Outcome said = Catch([] {
    Logger one, other;
    one.Message("text", kError, kMarked);
    other.Message("of the other", kContinuation, kMarked);
  });
  EXPECT_EQ(said.out, "       of the other\n");
  EXPECT_EQ(said.err, "ERROR: text\n");
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
    const Outcome said = Said(row.text, kError);
    EXPECT_EQ(said.err, row.shown);
    EXPECT_EQ(said.out, "");
  }
}

TEST(Logger, ShowsThePrefixAloneForAnEmptyText) {
  EXPECT_EQ(Said("", kError).err, "ERROR: \n");
  EXPECT_EQ(Said("", kWarning).err, " WARN: \n");
  EXPECT_EQ(Said("", kInformation).out, " INFO: \n");
  EXPECT_EQ(Said("", kContinuation).out, "       \n");
}

TEST(Logger, ShowsTheSameMarkedOrNot) {
  for (const int level : {0, 1, 2, 3, kNoLevel}) {
    const Outcome marked = Said("a\nb", level, kMarked), unmarked = Said("a\nb", level, kUnmarked);
    EXPECT_EQ(marked.out, unmarked.out) << level;
    EXPECT_EQ(marked.err, unmarked.err) << level;
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
  /// The flags are those of the end that the messages go into.
  explicit PipeAsConsole(int flags = 0) {
    int ends[2];
    if (::pipe2(ends, O_CLOEXEC) != 0) std::_Exit(99);
    reader_ = ends[0];
    ::dup2(ends[1], STDOUT_FILENO);
    ::close(ends[1]);
    ::fcntl(STDOUT_FILENO, F_SETFL, flags);
  }

  void LoseReader() const { ::close(reader_); }
  void EndMessages() const { ::close(STDOUT_FILENO); }

  /// Fills the pipe until nothing more goes in; gives back what it holds then.
  std::string FillUp() const {
    std::string filling;
    const int flags = ::fcntl(STDOUT_FILENO, F_GETFL);
    ::fcntl(STDOUT_FILENO, F_SETFL, flags | O_NONBLOCK);
    while (::write(STDOUT_FILENO, ".", 1) == 1) filling += '.';
    ::fcntl(STDOUT_FILENO, F_SETFL, flags);
    return filling;
  }

  /// Fills the pipe in such a way that of a page and one byte it takes one byte only.
  std::string FillUpButOneByte() const {
    std::string filling(static_cast<std::size_t>(::fcntl(STDOUT_FILENO, F_GETPIPE_SZ)) - 1, '.');
    for (const char& byte : filling) {
      if (::write(STDOUT_FILENO, &byte, 1) != 1) std::_Exit(98);
    }
    return filling;
  }

  /// What one read gets.
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

TEST(Logger, LosesOnlyTheMessagesThatNobodyReads) {
  const Outcome outcome = RunIsolated([] {
    ::signal(SIGPIPE, SIG_DFL);
    const SignalScope signals;
    const int console = ::dup(STDOUT_FILENO);
    PipeAsConsole().LoseReader();
    Logger logger;
    logger.Message("lost", kInformation, kMarked);
    logger.Message("lost, too", kContinuation, kMarked);
    logger.Message("on the other stream", kError, kMarked);
    ::dup2(console, STDOUT_FILENO);
    logger.Message("again", kInformation, kMarked);
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.out, " INFO: again\n");
  EXPECT_EQ(outcome.err, "ERROR: on the other stream\n");
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

/// A place for standard output that takes no message.
void TakeNothing(const std::string& place) {
  if (place == "closed") {
    ::close(STDOUT_FILENO);
  } else {
    ::dup2(::open(place.c_str(), O_RDWR | O_CLOEXEC), STDOUT_FILENO);
  }
}

TEST(Logger, LosesOnlyTheMessagesThatTheConsoleDoesNotTake) {
  for (const std::string place : {"/dev/full", "closed"}) {
    const Outcome outcome = RunIsolated([&] {
      const int console = ::dup(STDOUT_FILENO);
      TakeNothing(place);
      Logger logger;
      logger.Message("lost", kInformation, kMarked);
      logger.Message("on the other stream", kWarning, kMarked);
      ::dup2(console, STDOUT_FILENO);
      logger.Message("again", kInformation, kMarked);
      return 0;
    });
    EXPECT_EQ(outcome.status, 0) << place;
    EXPECT_EQ(outcome.out, " INFO: again\n") << place;
    EXPECT_EQ(outcome.err, " WARN: on the other stream\n") << place;
  }
}

/// Returns when this thread of the process waits in the system.
void WaitUntilAsleep(pid_t thread) {
  const std::string path = "/proc/self/task/" + std::to_string(thread) + "/stat";
  for (std::string id, name, state; state != "S"; std::this_thread::yield()) {
    std::ifstream(path) >> id >> name >> state;
  }
}

/// Shows a long message on a full console. It is read from another thread, once the message waits
/// for that and `before_reading` is done. 0 when the message arrives whole behind the filling.
int ShowOnAFullConsole(int flags, const std::function<void()>& before_reading) {
  ::alarm(60);  // instead of waiting without an end
  const std::string text(1'000'000, 'x');
  const PipeAsConsole console(flags);
  const std::string filling = console.FillUp();
  std::string seen;
  std::thread reader([&] {
    WaitUntilAsleep(::getpid());
    before_reading();
    seen = console.ReadToTheEnd();
  });
  Logger().Message(text, kInformation, kMarked);
  console.EndMessages();
  reader.join();
  return seen == filling + " INFO: " + text + "\n" ? 0 : 1;
}

TEST(Logger, WaitsForAConsoleThatIsFull) {
  for (const int flags : {0, O_NONBLOCK}) {
    const Outcome outcome = RunIsolated([&] { return ShowOnAFullConsole(flags, [] {}); });
    EXPECT_EQ(outcome.status, 0) << flags;
  }
}

TEST(Logger, GoesOnWhenTheConsoleTookASingleByte) {
  const Outcome outcome = RunIsolated([] {
    ::alarm(60);  // instead of waiting without an end
    const auto page = static_cast<std::size_t>(::sysconf(_SC_PAGESIZE));
    const std::string text(page + 1 - std::string_view(" INFO: \n").size(), 'x');
    const PipeAsConsole rehearsal(O_NONBLOCK);
    rehearsal.FillUpButOneByte();
    if (::write(STDOUT_FILENO, (text + " INFO: \n").data(), page + 1) != 1) return 2;
    const PipeAsConsole console(O_NONBLOCK);
    const std::string filling = console.FillUpButOneByte();
    std::string seen;
    std::thread reader([&] {
      WaitUntilAsleep(::getpid());
      seen = console.ReadToTheEnd();
    });
    Logger().Message(text, kInformation, kMarked);
    console.EndMessages();
    reader.join();
    return seen == filling + " INFO: " + text + "\n" ? 0 : 1;
  });
  EXPECT_EQ(outcome.status, 0);
}

TEST(Logger, GoesOnAfterASignalThatTheProcessHandles) {
  for (const int flags : {0, O_NONBLOCK}) {
    const Outcome outcome = RunIsolated([&] {
      struct sigaction action = {};
      action.sa_handler = [](int) {};
      ::sigaction(SIGUSR1, &action, nullptr);
      return ShowOnAFullConsole(flags, [writer = ::pthread_self()] {
        ::pthread_kill(writer, SIGUSR1);
        WaitUntilAsleep(::getpid());
      });
    });
    EXPECT_EQ(outcome.status, 0) << flags;
  }
}

TEST(Logger, GivesUpWhenTheReaderOfAFullConsoleLeaves) {
  for (const int flags : {0, O_NONBLOCK}) {
    const Outcome outcome = RunIsolated([&] {
      ::alarm(60);  // instead of waiting without an end
      const SignalScope signals;
      const PipeAsConsole console(flags);
      console.FillUp();
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
