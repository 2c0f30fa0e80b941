// Work that is done in threads, with results in the order in which it was given.
#pragma once

#include <condition_variable>
#include <cstddef>
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

  /// Has the task done by one of the threads. It throws nothing. Waits as long as more tasks than
  /// there are threads to do them are not begun.
  void Run(std::function<void()> task);

  /// Waits until all tasks are done.
  void Wait();

 private:
  void DoTasks();

  std::mutex mutex_;
  std::condition_variable changed_;
  std::deque<std::function<void()>> tasks_;  // not begun
  std::size_t busy_ = 0;
  bool is_ending_ = false;
  std::vector<std::thread> threads_;
};

}  // namespace kvl
