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
    // The threads that have started do all tasks.
  }
  ::pthread_sigmask(SIG_SETMASK, &before, nullptr);
}

TaskQueue::~TaskQueue() {
  {
    const std::lock_guard lock(mutex_);
    batches_.clear();
    is_ending_ = true;
  }
  changed_.notify_all();
  for (std::thread& thread : threads_) thread.join();
}

void TaskQueue::Run(std::function<void()> task, std::uint64_t weight) {
  constexpr std::size_t kMany = 32;
  if (threads_.empty()) return task();
  batch_.push_back(std::move(task));
  weight_of_batch_ += weight;
  if (batch_.size() == kMany || weight_of_batch_ >= kHeavy) HandOver();
}

void TaskQueue::HandOver() {
  if (batch_.empty()) return;
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return batches_.size() < threads_.size(); });
  batches_.push_back(std::exchange(batch_, {}));
  weight_of_batch_ = 0;
  changed_.notify_all();
}

void TaskQueue::Wait() {
  HandOver();
  std::unique_lock lock(mutex_);
  changed_.wait(lock, [this] { return batches_.empty() && busy_ == 0; });
}

void TaskQueue::DoTasks() {
  std::unique_lock lock(mutex_);
  for (;;) {
    changed_.wait(lock, [this] { return is_ending_ || !batches_.empty(); });
    if (is_ending_) return;
    const Batch batch = std::move(batches_.front());
    batches_.pop_front();
    ++busy_;
    lock.unlock();
    changed_.notify_all();
    for (const std::function<void()>& task : batch) task();
    lock.lock();
    --busy_;
    changed_.notify_all();
  }
}

}  // namespace kvl
