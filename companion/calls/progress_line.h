// The progress of a long call, shown on a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace kvl {

/// Returns the text for `done` bytes of `in_all` after `elapsed` seconds. Rate and remaining time
/// follow after one second, unless `done` is 0.
///   Volume 2: 45 %, 1.5 MiB of 3.4 MiB, 512.0 KiB/s, 0:04 left
std::string ProgressText(const std::string& label, std::uint64_t done, std::uint64_t in_all,
                         std::chrono::duration<double> elapsed);

/// One line on a terminal that is rewritten up to ten times a second, and removed at the end.
class ProgressLine {
 public:
  using Clock = std::chrono::steady_clock;

  /// The control sequence that removes the line.
  static constexpr char kRemoved[] = "\r\033[K";

  explicit ProgressLine(bool is_shown, std::function<Clock::time_point()> now = Clock::now);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// Shows the text of ProgressText, with the time since the construction.
  void Show(const std::string& label, std::uint64_t done, std::uint64_t in_all);
  /// Removes the line until the next Show.
  void Remove();

 private:
  const bool is_shown_;
  const std::function<Clock::time_point()> now_;
  const Clock::time_point begin_;
  Clock::time_point next_;  // Show writes nothing before
  std::string line_;
};

}  // namespace kvl
