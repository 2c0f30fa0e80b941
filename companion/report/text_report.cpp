#include "companion/report/text_report.h"

#include <algorithm>

#include "companion/names/plain_text.h"
#include "companion/report/report_words.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

constexpr std::size_t kLabelWidth = 11;
constexpr std::size_t kMostOfOneCode = 10;  // lines of text; the JSON report has more

class Text {
 public:
  explicit Text(const MediaReport& report) : report_(report) {}

  std::string Write(Detail detail) {
    Line("Media", Media());
    if (report_.expectation != Expectation::kBadCommandLine) {
      Line("System", System());
      Line("Installer", Installer() + NameOfInstaller());
      WriteVolumes();
      Line("Start", Start());
    }
    if (detail == Detail::kVerbose) WriteDetails();
    text_ += FindingLines(report_.findings) + Verdict() + "\n";
    return std::move(text_);
  }

 private:
  std::string System() const {
    if (report_.os_name.empty()) return "not set";
    return ToOneLine(report_.os_name) + ", from " + TextOf(report_.os_source, "--os");
  }

  std::string NameOfInstaller() const {
    if (report_.installer_name.empty()) return "; name not set";
    return "; name from " + TextOf(report_.installer_name_source, "--installer");
  }

  static std::string TextOf(NameSource source, const std::string& option) {
    switch (source) {
      case NameSource::kOption:
        return option;
      case NameSource::kStartScript:
        return names::kStartTui;
      case NameSource::kArgument:
        return "-env";
      default:
        return "the environment";
    }
  }

  void Line(const std::string& label, const std::string& value) {
    text_ += Padded(label, kLabelWidth) + value + "\n";
  }

  std::string Media() const {
    const std::string media = ToOneLine(report_.media_dir);
    return report_.found_in.empty() ? media : media + ", found in " + ToOneLine(report_.found_in);
  }

  std::string Installer() const {
    switch (report_.source) {
      case InstallerSource::kCurrentMedia:
        return ToOneLine(report_.installer) + ", in the media";
      case InstallerSource::kArgument:
        return ToOneLine(report_.installer) + ", from -installerPath";
      case InstallerSource::kVariable:
        return ToOneLine(report_.installer) + ", from KVL_ZOLVEN_Installer";
      case InstallerSource::kNone:
        break;
    }
    return report_.expectation == Expectation::kBlankInInstallerMedia ? "not usable" : "not found";
  }

  void WriteVolumes() {
    if (!report_.volumes_looked_for) {
      Line("Volumes", "not looked for");
      return;
    }
    if (report_.volumes.count <= 1) {
      Line("Volumes", report_.volumes.count == 1 ? "1" : "unknown number");
      return;
    }
    Line("Volumes",
         std::to_string(report_.volumes.count) + ", layout " + LayoutOf(report_) +
             (report_.volumes.tag.empty() ? "" : ", tag " + ToOneLine(report_.volumes.tag)));
    WriteVolumeLines();
  }

  void WriteVolumeLines() {
    const std::vector<VolumeRow>& rows = report_.volumes.rows;
    std::vector<std::pair<std::string, std::string>> lines;  // the numbers and the rest of the line
    for (std::size_t i = 0; i < rows.size(); ++i) {
      const VolumeRow& first = rows[i];
      i = LastOfRange(i);
      std::string numbers = std::to_string(first.number);
      std::string rest = Padded(CodeOf(first.state), 10) + "  " + ToOneLine(first.directory);
      if (const VolumeRow& last = rows[i]; last.number != first.number) {
        numbers += "-" + std::to_string(last.number);
        rest += " to " + ToOneLine(last.directory);
      }
      lines.emplace_back(numbers, rest + TagOfAnother(first));
    }
    std::size_t width = 0;
    for (const auto& [numbers, rest] : lines) width = std::max(width, numbers.size());
    for (const auto& [numbers, rest] : lines) {
      Line("", std::string(width - numbers.size(), ' ').append(numbers).append("  ").append(rest));
    }
  }

  /// Returns the last row that shares a line with this one: missing volumes share one.
  std::size_t LastOfRange(std::size_t first) const {
    const std::vector<VolumeRow>& rows = report_.volumes.rows;
    const auto is_missing = [&](std::size_t i) { return rows[i].state == VolumeState::kMissing; };
    std::size_t last = first;
    while (is_missing(first) && last + 1 < rows.size() && is_missing(last + 1) &&
           rows[last + 1].number == rows[last].number + 1) {
      ++last;
    }
    return last;
  }

  static std::string TagOfAnother(const VolumeRow& row) {
    const bool is_shown = row.state == VolumeState::kOtherTag && !row.tag.empty();
    return is_shown ? ", tag " + ToOneLine(row.tag) : "";
  }

  std::string Start() const {
    if (report_.expectation == Expectation::kQuery) return "not requested";
    const bool is_started = report_.expectation == Expectation::kInstallerRuns ||
                            report_.expectation == Expectation::kCannotStart ||
                            report_.expectation == Expectation::kCannotBeKnown;
    if (!report_.staged) return is_started ? "in place" : "not reached";
    const StagingForecast& staging = report_.staging;
    return "staged in " + ToOneLine(report_.staging_directory) + ": " +
           Counted(staging.files, "file") + ", " + Counted(staging.bytes, "byte") + "; " +
           Counted(static_cast<std::uint64_t>(staging.free_bytes), "byte") + " free";
  }

  void WriteDetails() {
    WriteList("Command", report_.command);
    std::vector<std::string> variables;
    for (const auto& [name, value] : report_.variables) {
      variables.push_back(std::string(name).append("=").append(value));
    }
    WriteList("Variables", variables);
    WriteList("Messages", report_.messages);
  }

  void WriteList(const std::string& label, const std::vector<std::string>& list) {
    if (list.empty()) return;
    text_ += label + "\n";
    for (const std::string& item : list) text_ += "  " + ToOneLine(item) + "\n";
  }

  std::string Verdict() const {
    const std::size_t count = report_.findings.Count();
    const std::string problems = count == 0 ? "Fine: " : Counted(count, "problem") + ": ";
    return problems + WhatScriptsStart() + WhatIsStarted();
  }

  std::string WhatScriptsStart() const {
    const auto& [tui, gui, launcher] = report_.start_problems;
    if (launcher || (!tui && !gui)) return {};
    if (!tui || !gui) {
      return std::string(tui ? names::kStartTui : names::kStartGui) + " will fail; without it, ";
    }
    return std::string(names::kStartTui) + " and " + names::kStartGui +
           " will fail; without them, ";
  }

  std::string WhatIsStarted() const {
    if (report_.start_problems.launcher) return "the launcher cannot be started";
    const std::string status = std::to_string(report_.status.value_or(0));
    switch (report_.expectation) {
      case Expectation::kInstallerRuns:
        return report_.staged ? "the installer will be staged and started"
                              : "the installer will be started in place";
      case Expectation::kQuery:
        return "the launcher will start nothing and answer with status " + status;
      case Expectation::kCannotBeKnown:
        return "the outcome of the launch is unknown";
      case Expectation::kCannotStart:
        return "the installer cannot be started, and the launcher will end with status " + status;
      default:
        return "the launcher will end with status " + status;
    }
  }

  const MediaReport& report_;
  std::string text_;
};

}  // namespace

std::string FindingLines(const Findings& findings) {
  std::string text;
  std::map<std::string_view, std::size_t> further = findings.NotKept();
  std::map<std::string_view, std::size_t> written;
  for (const Finding& finding : findings.All()) {
    if (++written[finding.Code()] > kMostOfOneCode) {
      ++further[finding.Code()];
      continue;
    }
    const std::string path = finding.path.empty() ? "" : ": " + ToOneLine(finding.path);
    text.append(CodeOf(finding.severity)).append(": ").append(ToOneLine(finding.text));
    text.append(path).append("; ").append(ToOneLine(finding.Remedy())).append("\n");
  }
  for (const auto& [code, count] : further) {
    text += "and " + std::to_string(count) + " more findings with the code ";
    text.append(code).append("\n");
  }
  return text;
}

std::string TextReport(const MediaReport& report, Detail detail) {
  return Text(report).Write(detail);
}

}  // namespace kvl
