// Running tasks in threads.

#include "companion/tasks/task_queue.h"

#include <sys/syscall.h>

#include <atomic>
#include <latch>
#include <linux/seccomp.h>

#include "tests/support/call_filter.h"
#include "tests/support/outcome.h"

namespace kvl::test {
namespace {

TEST(TaskQueue, RunsAllTasksBeforeWaitReturns) {
  for (const std::size_t threads : {0U, 1U, 2U, 7U}) {
    SCOPED_TRACE(threads);
    TaskQueue queue(threads);
    std::atomic<int> sum = 0;
    for (int round = 1; round <= 2; ++round) {
      for (int i = 1; i <= 1000; ++i)
        queue.Run([&sum, i] { sum += i; },
                  static_cast<std::uint64_t>(i % 3) * TaskQueue::kHeavy / 2);
      queue.Wait();
      EXPECT_EQ(sum, round * 500'500);
    }
  }
}

TEST(TaskQueue, RunsATaskInEachThreadAtTheSameTime) {
  constexpr int kThreads = 3;
  TaskQueue queue(kThreads);
  std::latch all_there(kThreads);
  for (int i = 0; i < kThreads; ++i) queue.Run([&] { all_there.arrive_and_wait(); });
  queue.Wait();
}

TEST(TaskQueue, LeavesSignalsToTheThreadThatOwnsIt) {
  sigset_t before, in_task, behind;
  ::pthread_sigmask(SIG_SETMASK, nullptr, &before);
  TaskQueue queue(2);
  queue.Run([&in_task] { ::pthread_sigmask(SIG_SETMASK, nullptr, &in_task); });
  queue.Wait();
  ::pthread_sigmask(SIG_SETMASK, nullptr, &behind);
  for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
    EXPECT_EQ(sigismember(&in_task, signal), 1);
    EXPECT_EQ(sigismember(&behind, signal), sigismember(&before, signal));
  }
}

TEST(TaskQueue, DoesTheTasksItselfWhereTheSystemHasNoThreads) {
  const Outcome seen = RunIsolated([] {
    FilterCalls({SYS_clone, SYS_clone3}, SECCOMP_RET_ERRNO | EAGAIN);
    TaskQueue queue(4);
    bool is_done = false;
    queue.Run([&] { is_done = true; });
    return is_done ? 0 : 1;
  });
  EXPECT_EQ(seen, (Outcome{}));
}

}  // namespace
}  // namespace kvl::test
