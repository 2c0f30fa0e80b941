// Work that is done in threads, several pieces of it at a time, in no order that anybody can rely on.
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
  /// With one thread, or where the system has none to give, Run does the task itself. The threads have
  /// all signals blocked: they are for the one that is here, which knows what may not be left behind.
  explicit TaskQueue(std::size_t threads);
  /// Waits for the tasks that are being done; those that are not begun are left undone.
  ~TaskQueue();
  TaskQueue(const TaskQueue&) = delete;
  TaskQueue& operator=(const TaskQueue&) = delete;

  /// What a task weighs that is worth being handed over alone.
  static constexpr std::uint64_t kHeavy = 1U << 18U;

  /// Has the task done by one of the threads. It throws nothing. Light ones are handed over
  /// together: up to 32, one after the other, or as many as weigh this much. Waits as long as more
  /// of what is handed over than there are threads to do it is not begun.
  void Run(std::function<void()> task, std::uint64_t weight = kHeavy);

  /// Hands over what was kept back, for instance as it holds something open.
  void HandOver();

  /// Waits until all tasks are done.
  void Wait();

 private:
  using Batch = std::vector<std::function<void()>>;

  void DoTasks();

  Batch batch_;  // kept back
  std::uint64_t weight_of_batch_ = 0;

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<Batch> batches_;  // not begun
  std::size_t busy_ = 0;
  bool is_ending_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace kvl
