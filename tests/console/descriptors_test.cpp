#include "console/descriptors.h"

#include "console/logger.h"
#include "tests/console/fake_child.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

constexpr int kStreams = 3;
constexpr int kHighest = 256;  // as far as the fake installer looks

constexpr char kOwnName[] = "/somewhere/kvl-launcher";

/// How a caller started the launcher, within RunIsolated.
struct Caller {
  unsigned closed = 0;  ///< a bit for each standard stream: 1, 2, 4
  std::vector<int> further = {};

  bool Closes(int stream) const { return (closed >> stream & 1U) != 0; }

  void SetUpDescriptors() const {
    ::dup2(::open("/dev/null", O_RDWR), STDIN_FILENO);
    for (int number = kStreams; number < kHighest; ++number) ::close(number);
    for (const int number : further) ::dup2(STDIN_FILENO, number);
    for (int stream = 0; stream < kStreams; ++stream) {
      if (Closes(stream)) ::close(stream);
    }
  }

  /// The descriptors that are open, and that the child should find.
  std::string Open() const {
    std::string numbers;
    for (int stream = 0; stream < kStreams; ++stream) {
      if (!Closes(stream)) numbers += std::to_string(stream) + " ";
    }
    for (const int number : further) numbers += std::to_string(number) + " ";
    return numbers;
  }
};

/// Every combination of closed standard streams.
std::vector<Caller> AllCallers() {
  std::vector<Caller> callers;
  for (unsigned closed = 0; closed < 1U << kStreams; ++closed)
    callers.push_back({closed, {3, 9, 200}});
  return callers;
}

TEST(PrepareDescriptors, KeepsClosedStreamsFreeOfFilesOpenedLater) {
  const TestDirectory directory;
  for (const Caller& caller : AllCallers()) {
    SCOPED_TRACE(caller.Open());
    const std::string file = directory.Write("file", "contents");
    const Outcome outcome = RunIsolated([&] {
      caller.SetUpDescriptors();
      PrepareDescriptors(kOwnName);
      const int opened = ::open(file.c_str(), O_RDWR | O_APPEND | O_CLOEXEC);
      Logger logger;
      logger.Message("information", kInformation, kMarked);
      logger.Message("error", kError, kMarked);
      return opened;
    });
    EXPECT_GE(outcome.status, kStreams);
    EXPECT_EQ(ReadFile(file), "contents");
    EXPECT_EQ(outcome.out, caller.Closes(STDOUT_FILENO) ? "" : " INFO: information\n");
    EXPECT_EQ(outcome.err, caller.Closes(STDERR_FILENO) ? "" : "ERROR: error\n");
  }
}

TEST(PrepareDescriptors, LetsTheChildHaveWhatTheCallerLeftOpenAndNothingElse) {
  const FakeChild child;
  const ScopedEnv env(child.Env({{"FAKE_EXIT", "7"}, {"FAKE_PRINT", "child"}}));
  for (const Caller& caller : AllCallers()) {
    SCOPED_TRACE(caller.Open());
    const Outcome outcome = RunIsolated([&] {
      caller.SetUpDescriptors();
      PrepareDescriptors(kOwnName);
      return RunBare(child.Program());
    });
    EXPECT_EQ(outcome.status, 7);
    EXPECT_EQ(outcome.out, caller.Closes(STDOUT_FILENO) ? "" : "child");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(child.Report().facts.at("descriptors"), caller.Open());
  }
}

TEST(PrepareDescriptors, LeavesOccupiedStreamsWithNothingToReadOrWrite) {
  const Outcome outcome = RunIsolated([] {
    const Caller caller = {/*closed=*/7};
    caller.SetUpDescriptors();
    PrepareDescriptors(kOwnName);
    for (int stream = 0; stream < kStreams; ++stream) {
      char byte = 'x';
      if (::fcntl(stream, F_GETFD) != FD_CLOEXEC) return 1;
      if (::read(stream, &byte, 1) != -1 || errno != EBADF) return 2;
      if (::write(stream, &byte, 1) != -1 || errno != EBADF) return 3;
    }
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
}

TEST(PrepareDescriptors, LeavesOpenStreamsToTheChild) {
  const Outcome outcome = RunIsolated([] {
    const Caller caller;
    caller.SetUpDescriptors();
    PrepareDescriptors(kOwnName);
    for (int stream = 0; stream < kStreams; ++stream) {
      if (::fcntl(stream, F_GETFD) != 0) return 1;
    }
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
}

/// Which of some descriptors a program of that name leaves to its child.
std::string LeftOpenBy(std::string_view own_name) {
  return RunIsolated([&] {
           const Caller caller = {0, {3, 9, 200}};
           caller.SetUpDescriptors();
           PrepareDescriptors(own_name);
           for (int number = 0; number < kHighest; ++number) {
             if (::fcntl(number, F_GETFD) == 0) std::cout << number << " ";
           }
           return 0;
         })
      .out;
}

TEST(PrepareDescriptors, ClosesTheOneThatTheProgramWasStartedThrough) {
  EXPECT_EQ(LeftOpenBy("/proc/self/fd/3"), "0 1 2 9 200 ");
  EXPECT_EQ(LeftOpenBy("/proc/self/fd/9"), "0 1 2 3 200 ");
  EXPECT_EQ(LeftOpenBy("/proc/self/fd/200"), "0 1 2 3 9 ");
}

TEST(PrepareDescriptors, ClosesNothingOfAProgramThatWasStartedOtherwise) {
  for (const char* name :
       {"", "3", "kvl-launcher", "/proc/self/fd/", "/proc/self/fd/3/kvl-launcher",
        "/proc/self/fd/+3", "/proc/self/fd/ 3", "/proc/self/fd/-3", "/proc/self/fd/3 ",
        "/proc/self/fd/0", "/proc/self/fd/1", "/proc/self/fd/2", "/proc/self/fd/4",
        "/proc/self/fd/99999999999999999999", "/proc/1/fd/3", "x/proc/self/fd/3"}) {
    EXPECT_EQ(LeftOpenBy(name), "0 1 2 3 9 200 ") << name;
  }
}

}  // namespace
}  // namespace kvl::test
