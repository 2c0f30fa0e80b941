#include "companion/report/text_report.h"

#include <algorithm>

#include "companion/names/plain_text.h"
#include "companion/report/report_words.h"

namespace kvl {
namespace {

constexpr std::size_t kLabelWidth = 11;
constexpr std::size_t kMostOfOneCode = 10;  // lines for people; programs get more

std::string LineOf(const std::string& label, const std::string& value) {
  return Padded(label, kLabelWidth) + value + "\n";
}

class Text {
 public:
  explicit Text(const MediaReport& report) : report_(report) {}

  std::string Write(Detail detail) {
    Line("Media", ToOneLine(report_.media_dir));
    if (report_.expectation != Expectation::kBadCommandLine) {
      Line("System", NameOrNone(report_.os_name));
      Line("Installer", Installer());
      WriteVolumes();
      Line("Start", Start());
    }
    if (detail == Detail::kVerbose) WriteDetails();
    text_ += FindingLines(report_.findings) + Verdict() + "\n";
    return std::move(text_);
  }

 private:
  static std::string NameOrNone(const std::string& name) {
    return name.empty() ? "none named" : ToOneLine(name);
  }

  void Line(const std::string& label, const std::string& value) { text_ += LineOf(label, value); }

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
      Line("Volumes", report_.volumes.count == 1 ? "1" : "number unknown");
      return;
    }
    Line("Volumes",
         std::to_string(report_.volumes.count) + ", layout " + LayoutOf(report_) +
             (report_.volumes.tag.empty() ? "" : ", tag " + ToOneLine(report_.volumes.tag)));
    std::size_t width = 0;
    for (const VolumeRow& row : report_.volumes.rows) {
      width = std::max(width, std::to_string(row.number).size());
    }
    for (const VolumeRow& row : report_.volumes.rows) {
      const std::string number = std::to_string(row.number);
      Line("", std::string(width - number.size(), ' ') + number + "  " +
                   Padded(CodeOf(row.state), 10) + "  " + ToOneLine(row.directory) +
                   TagOfAnother(row));
    }
  }

  static std::string TagOfAnother(const VolumeRow& row) {
    const bool is_shown = row.state == VolumeState::kOtherTag && !row.tag.empty();
    return is_shown ? ", tag " + ToOneLine(row.tag) : "";
  }

  std::string Start() const {
    if (report_.expectation == Expectation::kQuery) return "not asked for";
    const bool is_started = report_.expectation == Expectation::kInstallerRuns ||
                            report_.expectation == Expectation::kCannotStart ||
                            report_.expectation == Expectation::kCannotBeKnown;
    if (!report_.staged) return is_started ? "in place" : "none";
    const StagingForecast& staging = report_.staging;
    return "staged in " + ToOneLine(report_.staging_directory) + ": " +
           Counted(staging.files, "file") + ", " + Counted(staging.bytes, "byte") + ", free " +
           std::to_string(staging.free_bytes);
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
    const std::string start = count == 0 ? "Fine: " : Counted(count, "problem") + ": ";
    switch (report_.expectation) {
      case Expectation::kInstallerRuns:
        return start + (report_.staged ? "the installer will be staged and started"
                                       : "the installer will be started in place");
      case Expectation::kQuery:
        return start + "the launcher will only answer with status " +
               std::to_string(report_.status.value_or(0));
      case Expectation::kCannotBeKnown:
        return start + "what comes of a start of the installer cannot be known";
      case Expectation::kCannotStart:
        return start + "the installer cannot be started, status " +
               std::to_string(report_.status.value_or(0));
      default:
        return start + "the launcher will end with status " +
               std::to_string(report_.status.value_or(0));
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
    const std::string path = finding.path.empty() ? "" : ToOneLine(finding.path) + ": ";
    text += LineOf(CodeOf(finding.severity),
                   path + ToOneLine(finding.text) + "; " + ToOneLine(finding.Remedy()));
  }
  for (const auto& [code, count] : further) {
    text += LineOf("", ("and " + std::to_string(count) + " more of ").append(code));
  }
  return text;
}

std::string TextReport(const MediaReport& report, Detail detail) {
  return Text(report).Write(detail);
}

}  // namespace kvl
