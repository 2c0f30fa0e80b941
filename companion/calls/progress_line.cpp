#include "companion/calls/progress_line.h"

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdio>
#include <utility>

namespace kvl {
namespace {

constexpr std::chrono::milliseconds kBetweenLines{100};
constexpr std::chrono::seconds kUntilARateIsKnown{1};

std::string Bytes(double count) {
  constexpr std::array kUnits = {"KiB", "MiB", "GiB", "TiB"};
  std::size_t unit = 0;
  for (count /= 1024; count >= 1024 && unit + 1 < kUnits.size(); count /= 1024) ++unit;
  std::array<char, 32> text = {};
  std::snprintf(text.data(), text.size(), "%.1f %s", count, kUnits.at(unit));
  return text.data();
}

std::string Time(double seconds) {
  constexpr double kLongest = 359'999;  // 99:59:59
  const int all = static_cast<int>(std::min(seconds, kLongest));
  std::array<char, 32> text = {};
  if (all < 3600) {
    std::snprintf(text.data(), text.size(), "%d:%02d", all / 60, all % 60);
  } else {
    std::snprintf(text.data(), text.size(), "%d:%02d:%02d", all / 3600, all / 60 % 60, all % 60);
  }
  return text.data();
}

}  // namespace

std::string ProgressText(const std::string& label, std::uint64_t done, std::uint64_t in_all,
                         std::chrono::duration<double> elapsed) {
  const double part = static_cast<double>(done), whole = static_cast<double>(in_all);
  const int percent = in_all == 0 ? 100 : static_cast<int>(100 * part / whole);
  std::string text =
      label + ": " + std::to_string(percent) + " %, " + Bytes(part) + " of " + Bytes(whole);
  if (done == 0 || elapsed < kUntilARateIsKnown) return text;
  const double rate = part / elapsed.count();
  return text + ", " + Bytes(rate) + "/s, " + Time((whole - part) / rate) + " left";
}

ProgressLine::ProgressLine(bool is_shown, std::function<Clock::time_point()> now)
    : is_shown_(is_shown), now_(std::move(now)), begin_(now_()), next_(begin_) {}

ProgressLine::~ProgressLine() {
  Remove();
}

void ProgressLine::Show(const std::string& label, std::uint64_t done, std::uint64_t in_all) {
  if (!is_shown_) return;
  const Clock::time_point now = now_();
  if (now < next_) return;
  next_ = now + kBetweenLines;
  std::string line = ProgressText(label, done, in_all, now - begin_);
  if (line == line_) return;
  line_ = std::move(line);
  std::fprintf(stderr, "\r%s\033[K", line_.c_str());
}

void ProgressLine::Remove() {
  if (!std::exchange(line_, {}).empty()) std::fputs(kRemoved, stderr);
}

}  // namespace kvl
