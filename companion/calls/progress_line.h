// How far a long call has come, on a terminal.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

namespace kvl {

/// One line on a terminal, rewritten whenever its figures change.
class ProgressLine {
 public:
  /// What takes the line away.
  static constexpr char kRemoved[] = "\r\033[K";

  explicit ProgressLine(bool is_shown) : is_shown_(is_shown) {}
  ~ProgressLine();
  ProgressLine(const ProgressLine&) = delete;
  ProgressLine& operator=(const ProgressLine&) = delete;

  void Show(std::size_t volume, std::uint64_t done, std::uint64_t in_all);

 private:
  bool is_shown_;
  std::string line_;
};

}  // namespace kvl
