// Words and codes that the text and the JSON reports share.
#pragma once

#include <cstddef>
#include <cstdint>
#include <string>

#include "companion/check/media_report.h"
#include "companion/names/layout_name.h"

namespace kvl {

inline std::string Padded(std::string text, std::size_t width) {
  if (text.size() < width) text.append(width - text.size(), ' ');
  return text;
}

/// Returns a number and its word, which gets an "s" unless the number is 1.
inline std::string Counted(std::uint64_t count, const std::string& word) {
  return std::to_string(count) + " " + word + (count == 1 ? "" : "s");
}

/// Returns the code for programs, which stays stable.
inline const char* CodeOf(Expectation expectation) {
  switch (expectation) {
    case Expectation::kBadCommandLine:
      return "bad-command-line";
    case Expectation::kNoInstaller:
      return "no-installer";
    case Expectation::kBlankInInstallerMedia:
      return "blank-in-installer-media";
    case Expectation::kAbort:
      return "abort";
    case Expectation::kQuery:
      return "query";
    case Expectation::kStagingFails:
      return "staging-fails";
    case Expectation::kCannotStart:
      return "cannot-start";
    case Expectation::kStartScriptFails:
      return "start-script-fails";
    case Expectation::kLauncherCannotStart:
      return "launcher-cannot-start";
    case Expectation::kCannotBeKnown:
      return "cannot-be-known";
    case Expectation::kInstallerRuns:
      break;
  }
  return "installer-runs";
}

inline const char* CodeOf(NameSource source) {
  switch (source) {
    case NameSource::kOption:
      return "option";
    case NameSource::kEnvironment:
      return "environment";
    case NameSource::kStartScript:
      return "start-script";
    case NameSource::kArgument:
      return "argument";
    case NameSource::kNone:
      break;
  }
  return "none";
}

inline const char* CodeOf(InstallerSource source) {
  switch (source) {
    case InstallerSource::kCurrentMedia:
      return "media";
    case InstallerSource::kArgument:
      return "argument";
    case InstallerSource::kVariable:
      return "variable";
    case InstallerSource::kNone:
      break;
  }
  return "none";
}

inline const char* CodeOf(Severity severity) {
  return severity == Severity::kError ? "error" : "warning";
}

inline const char* CodeOf(VolumeState state) {
  switch (state) {
    case VolumeState::kMissing:
      return "missing";
    case VolumeState::kOtherTag:
      return "other-tag";
    case VolumeState::kUnreadable:
      return "unreadable";
    case VolumeState::kNoTag:
      return "no-tag";
    case VolumeState::kFound:
      break;
  }
  return "found";
}

inline const char* LayoutOf(const MediaReport& report) {
  if (!report.volumes_looked_for) return "not-looked-for";
  const bool is_unknown = report.layout == Layout::kNone && report.volumes.count != 1;
  return is_unknown ? "unknown" : NameOf(report.layout);
}

}  // namespace kvl
