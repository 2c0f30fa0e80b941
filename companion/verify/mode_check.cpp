#include "companion/verify/mode_check.h"

#include <algorithm>
#include <array>
#include <cstdio>

#include "companion/names/path_below.h"

namespace kvl {
namespace {

constexpr std::uint32_t kPermissions = 07777, kWriting = 0222;

std::uint32_t ModeOf(ModeCheck::Kind kind) {
  return kind == ModeCheck::Kind::kPlain ? 0644 : 0755;
}

bool IsRight(std::uint32_t mode, std::uint32_t wanted) {
  return mode == wanted || mode == (wanted & ~kWriting);
}

std::string Octal(std::uint32_t mode) {
  std::array<char, 16> text = {};
  std::snprintf(text.data(), text.size(), "%03o", mode);
  return text.data();
}

}  // namespace

void ModeCheck::Add(const std::string& path, std::uint32_t mode, Kind kind) {
  const std::uint32_t permissions = mode & kPermissions, wanted = ModeOf(kind);
  seen_[kind].insert(permissions);
  if (!IsRight(permissions, wanted)) others_.push_back({path, permissions, kind});
}

void ModeCheck::AddFlaws(const std::string& directory, std::vector<Flaw>& flaws) const {
  if (others_.size() > 1 && IsEachKindTheSame()) {
    flaws.push_back({FlawKind::kWrongMode, directory, ModesOfAll()});
    return;
  }
  for (const Other& other : others_) {
    flaws.push_back({FlawKind::kWrongMode, PathBelow(directory, other.path),
                     Octal(other.mode) + " instead of " + Octal(ModeOf(other.kind))});
  }
}

bool ModeCheck::IsEachKindTheSame() const {
  return std::ranges::all_of(seen_, [](const auto& seen) { return seen.second.size() == 1; });
}

std::string ModeCheck::ModesOfAll() const {
  const std::map<Kind, std::string> kinds = {{Kind::kPlain, "plain files"},
                                             {Kind::kProgram, "programs"},
                                             {Kind::kDirectory, "directories"}};
  std::string text;
  for (const auto& [kind, modes] : seen_) {
    const std::uint32_t mode = *modes.begin(), wanted = ModeOf(kind);
    text += (text.empty() ? "all " : ", all ") + kinds.at(kind) + " have " + Octal(mode);
    if (!IsRight(mode, wanted)) text += " instead of " + Octal(wanted);
  }
  return text;
}

}  // namespace kvl
