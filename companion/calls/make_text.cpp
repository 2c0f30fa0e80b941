#include "companion/calls/make_text.h"

#include "companion/calls/console_output.h"
#include "companion/make/planned_files.h"
#include "companion/names/path_below.h"
#include "companion/names/plain_text.h"
#include "companion/report/text_report.h"
#include "environment/media_names.h"

namespace kvl {
namespace {

std::string WhichMedia(const MakeReport& report) {
  return ToOneLine(report.tag) + ", layout " + NameOf(report.layout.value_or(kSingle)) +
         ", volumes: " + std::to_string(report.volumes.size()) + ".\n";
}

/// `bytes` is the text in front of the number of bytes.
std::string LineOfImage(const MakeReport& report, std::size_t volume, const std::string& bytes) {
  const MakeReport::Volume& of = report.volumes[volume - 1];
  if (of.image.empty()) return {};
  return "Image of volume " + std::to_string(volume) + ": " + Quoted(of.image) + bytes +
         std::to_string(of.image_bytes) + "\n";
}

}  // namespace

std::string TextOfMade(const MakeReport& report) {
  const std::string& first = report.volumes.front().directory;
  std::string text = "Made a media with tag " + WhichMedia(report);
  if (!first.empty()) text += "First volume: " + Quoted(first) + "\n";
  if (report.starts) {
    text += "Start it with: " + Quoted(PathBelow(first, names::kStartTui)) + "\n";
  }
  for (std::size_t i = 1; i <= report.volumes.size(); ++i) {
    text += LineOfImage(report, i, ", bytes: ");
  }
  return text + FindingLines(report.findings);
}

std::string TextOfPlan(const MakeReport& report, const MediaPlan& plan, bool with_files) {
  std::vector<std::string> files(report.volumes.size());
  if (with_files) {
    ForEachCopy(plan, [&](std::size_t volume, const std::string& path, std::uint64_t) {
      files[volume - 1] += "  " + ToOneLine(path) + "\n";
    });
  }
  std::string text = "Would make a media with tag " + WhichMedia(report) +
                     "It needs bytes: " + std::to_string(report.needed_bytes) +
                     ", files and directories: " + std::to_string(report.needed_entries) + ".\n";
  for (std::size_t i = 0; i < report.volumes.size(); ++i) {
    const MakeReport::Volume& volume = report.volumes[i];
    text += "Volume " + std::to_string(i + 1) + ": " + Quoted(volume.directory) +
            ", files of payload: " + std::to_string(volume.files) +
            ", bytes: " + std::to_string(volume.bytes) + "\n" + files[i] +
            LineOfImage(report, i + 1, ", bytes at most: ");
  }
  return text + FindingLines(report.findings);
}

}  // namespace kvl
