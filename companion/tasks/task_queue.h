// Doing tasks in several threads at the same time, in an unspecified order.
#pragma once

#include <condition_variable>
#include <cstddef>
#include <cstdint>
#include <deque>
#include <functional>
#include <mutex>
#include <thread>
#include <vector>

namespace kvl {

class TaskQueue {
 public:
  /// Starts the threads, or fewer when the system refuses more. With one thread, or when the system
  /// refuses all, starts none, and Run does each task itself. The threads have all signals blocked:
  /// the calling thread handles signals, because it knows what must not be left behind.
  explicit TaskQueue(std::size_t threads);
  /// Waits for the tasks that have begun, and drops the others.
  ~TaskQueue();
  TaskQueue(const TaskQueue&) = delete;
  TaskQueue& operator=(const TaskQueue&) = delete;

  /// The weight of a task that is worth a batch of its own.
  static constexpr std::uint64_t kHeavy = 1U << 18U;

  /// Gives the task to the threads. The task must not throw. Collects light tasks into a batch,
  /// which one thread does in order, until the batch has 32 tasks or weighs kHeavy. Waits while as
  /// many batches wait as there are threads.
  void Run(std::function<void()> task, std::uint64_t weight = kHeavy);

  /// Gives the current batch to the threads, for instance because its tasks hold something open.
  void HandOver();

  /// Waits until all tasks are done.
  void Wait();

 private:
  using Batch = std::vector<std::function<void()>>;

  void DoTasks();

  Batch batch_;  // not handed over yet
  std::uint64_t weight_of_batch_ = 0;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Batch> batches_;  // handed over, not begun
  std::size_t busy_ = 0;
  bool is_ending_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace kvl
