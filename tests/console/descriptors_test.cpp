#include "console/descriptors.h"

#include <errno.h>
#include <fcntl.h>
#include <sys/resource.h>
#include <unistd.h>

#include <optional>
#include <string>
#include <vector>

#include <gtest/gtest.h>

#include "console/logger.h"
#include "tests/console/fake_child.h"
#include "tests/support/outcome.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

constexpr int kStreams = 3;

/// How a caller started the launcher, within RunIsolated.
struct Caller {
  unsigned closed = 0;  ///< a bit for each standard stream: 1, 2, 4
  std::vector<int> further = {};
  bool close_range_fails = false;

  bool Closes(int stream) const { return (closed >> stream & 1U) != 0; }

  void SetUpDescriptors() const {
    ::dup2(::open("/dev/null", O_RDWR), STDIN_FILENO);
    for (const int number : further) ::dup2(STDIN_FILENO, number);
    for (int stream = 0; stream < kStreams; ++stream) {
      if (Closes(stream)) ::close(stream);
    }
  }

  /// PrepareDescriptors on a system that may be older than close_range.
  void Prepare() const {
    std::optional<FailingCall> failing;
    if (close_range_fails) failing.emplace(FailingCall::kCloseRange, ENOSYS);
    PrepareDescriptors();
  }

  /// The descriptors that the child should find.
  std::string OpenStreams() const {
    std::string numbers;
    for (int stream = 0; stream < kStreams; ++stream) {
      if (!Closes(stream)) numbers += std::to_string(stream) + " ";
    }
    return numbers;
  }

  std::string Named() const {
    return "open: " + OpenStreams() + (close_range_fails ? "without close_range" : "");
  }
};

/// Every combination of closed standard streams, with and without close_range.
std::vector<Caller> AllCallers() {
  std::vector<Caller> callers;
  for (unsigned closed = 0; closed < 1U << kStreams; ++closed) {
    for (const bool fails : {false, true}) callers.push_back({closed, {3, 9, 200}, fails});
  }
  return callers;
}

TEST(PrepareDescriptors, KeepsClosedStreamsFreeOfFilesOpenedLater) {
  const TestDirectory directory;
  for (const Caller& caller : AllCallers()) {
    SCOPED_TRACE(caller.Named());
    const std::string file = directory.Write("file", "contents");
    const Outcome outcome = RunIsolated([&] {
      caller.SetUpDescriptors();
      caller.Prepare();
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

TEST(PrepareDescriptors, LetsTheChildHaveTheOpenStreamsAndNothingElse) {
  const FakeChild child;
  const ScopedEnv env(child.Env({{"FAKE_EXIT", "7"}, {"FAKE_PRINT", "child"}}));
  for (const Caller& caller : AllCallers()) {
    SCOPED_TRACE(caller.Named());
    const Outcome outcome = RunIsolated([&] {
      caller.SetUpDescriptors();
      caller.Prepare();
      return RunBare(child.Program());
    });
    EXPECT_EQ(outcome.status, 7);
    EXPECT_EQ(outcome.out, caller.Closes(STDOUT_FILENO) ? "" : "child");
    EXPECT_EQ(outcome.err, "");
    EXPECT_EQ(child.Report().facts.at("descriptors"), caller.OpenStreams());
  }
}

TEST(PrepareDescriptors, LeavesOccupiedStreamsWithNothingToReadOrWrite) {
  const Outcome outcome = RunIsolated([] {
    const Caller caller = {/*closed=*/7};
    caller.SetUpDescriptors();
    caller.Prepare();
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
    caller.Prepare();
    for (int stream = 0; stream < kStreams; ++stream) {
      if (::fcntl(stream, F_GETFD) != 0) return 1;
    }
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
}

bool AllowDescriptorsBelow(rlim_t number) {
  rlimit limit;
  if (::getrlimit(RLIMIT_NOFILE, &limit) != 0) return false;
  limit.rlim_cur = number;
  return ::setrlimit(RLIMIT_NOFILE, &limit) == 0;
}

TEST(PrepareDescriptors, MarksTheHighestNumbersToo) {
  for (const bool fails : {false, true}) {
    const Outcome outcome = RunIsolated([&] {
      const Caller caller = {0, {4000}, fails};
      if (!AllowDescriptorsBelow(4001)) return 1;
      caller.SetUpDescriptors();
      caller.Prepare();
      return ::fcntl(4000, F_GETFD) == FD_CLOEXEC ? 0 : 2;
    });
    EXPECT_EQ(outcome.status, 0) << fails;
  }
}

TEST(PrepareDescriptors, NeedsNoDescriptorOfItsOwn) {
  const Outcome outcome = RunIsolated([] {
    const Caller caller = {0, {4000}};
    if (!AllowDescriptorsBelow(4001)) return 1;
    caller.SetUpDescriptors();
    if (!AllowDescriptorsBelow(kStreams)) return 2;
    caller.Prepare();
    return ::fcntl(4000, F_GETFD) == FD_CLOEXEC ? 0 : 3;
  });
  EXPECT_EQ(outcome.status, 0);
}

/// Without a descriptor left, the list of the open ones cannot be read either.
TEST(PrepareDescriptors, MarksTheNumbersThatAProcessHasByDefaultWhenTheyCannotBeListed) {
  const Outcome outcome = RunIsolated([] {
    const Caller caller = {0, {3, 200, 1023, 1024}, /*close_range_fails=*/true};
    if (!AllowDescriptorsBelow(1025)) return 1;
    caller.SetUpDescriptors();
    if (!AllowDescriptorsBelow(kStreams)) return 2;
    caller.Prepare();
    for (const int number : {3, 200, 1023}) {
      if (::fcntl(number, F_GETFD) != FD_CLOEXEC) return number;
    }
    for (const int number : {STDIN_FILENO, STDOUT_FILENO, STDERR_FILENO, 1024}) {
      if (::fcntl(number, F_GETFD) != 0) return 4;
    }
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
}

TEST(PrepareDescriptors, KeepsFurtherDescriptorsOpenInTheLauncherItself) {
  for (const bool fails : {false, true}) {
    const Outcome outcome = RunIsolated([&] {
      const Caller caller = {0, {200}, fails};
      caller.SetUpDescriptors();
      caller.Prepare();
      return ::fcntl(200, F_GETFD) == FD_CLOEXEC ? 0 : 1;
    });
    EXPECT_EQ(outcome.status, 0) << fails;
  }
}

}  // namespace
}  // namespace kvl::test
