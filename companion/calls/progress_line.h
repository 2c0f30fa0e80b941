// How far a long call has come, on a terminal.
#pragma once

#include <chrono>
#include <cstdint>
#include <functional>
#include <string>

namespace kvl {

/// What is said of `done` bytes of `in_all` after so many seconds; the rate and the remaining time only
/// when there is something to tell them from.
///   Volume 2: 45 %, 1.5 MiB of 3.4 MiB, 512.0 KiB/s, 0:04 left
std::string ProgressText(const std::string& label, std::uint64_t done, std::uint64_t in_all,
                         std::chrono::duration<double> elapsed);

/// One line on a terminal, rewritten with new figures some times in a second, and gone at the end.
class ProgressLine {
 public:
  using Clock = std::chrono::steady_clock;

  /// What takes the line away.
  static constexpr char kRemoved[] = "\r\033[K";

  explicit ProgressLine(bool is_shown, std::function<Clock::time_point()> now = Clock::now);
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  /// `done` and `in_all` count from the making of the line; `label` says what they are of.
  void Show(const std::string& label, std::uint64_t done, std::uint64_t in_all);
  /// Takes the line away; the next figures bring it back.
  void Remove();

 private:
  const bool is_shown_;
  const std::function<Clock::time_point()> now_;
  const Clock::time_point begin_;
  Clock::time_point next_;  // nothing is written before
  std::string line_;
};

}  // namespace kvl
