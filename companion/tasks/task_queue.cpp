#include "companion/tasks/task_queue.h"

#include <signal.h>

#include <system_error>
#include <utility>

namespace kvl {

TaskQueue::TaskQueue(std::size_t threads) {
  sigset_t all, before;
  ::sigfillset(&all);
  ::pthread_sigmask(SIG_SETMASK, &all, &before);
  try {
    for (std::size_t i = 0; threads > 1 && i < threads; ++i) {
      threads_.emplace_back([this] { DoTasks(); });
    }
  } catch (const std::system_error&) {
    // Those that there are will do.
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TaskQueue::~TaskQueue() {
  {
    const std::lock_guard lock(mutex_);
    tasks_.clear();
    is_ending_ = true;
  }
  changed_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void TaskQueue::Run(std::function<void()> task) {
  if (threads_.empty()) return task();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return tasks_.size() < threads_.size(); });
  tasks_.push_back(std::move(task));
  changed_.notify_all();
}

void TaskQueue::Wait() {
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return tasks_.empty() && busy_ == 0; });
}

void TaskQueue::DoTasks() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return is_ending_ || !tasks_.empty(); });
    if (is_ending_) return;
    const std::function<void()> task = std::move(tasks_.front());
    tasks_.pop_front();
    ++busy_;
    lock.unlock();
    changed_.notify_all();
    task();
    lock.lock();
    --busy_;
    changed_.notify_all();
  }
}

}  // namespace kvl
