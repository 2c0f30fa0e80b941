#include "companion/report/json_report.h"

#include <nlohmann/json.hpp>

#include "companion/names/plain_text.h"
#include "companion/report/report_words.h"

namespace kvl {
namespace {

using Json = nlohmann::ordered_json;

constexpr int kFormat = 1;
constexpr int kIndent = 2;

Json Texts(const std::vector<std::string>& texts) {
  Json list = Json::array();
  for (const std::string& text : texts) list.push_back(ToOneLine(text));
  return list;
}

Json VolumeRows(const MediaReport& report) {
  Json list = Json::array();
  for (const VolumeRow& row : report.volumes.rows) {
    Json json;
    // Keys of a volume
    /// The number of the volume.
    json["number"] = row.number;
    /// The directory in which the launcher expects it.
    json["directory"] = ToOneLine(row.directory);
    /// The tag in its marker.
    json["tag"] = ToOneLine(row.tag);
    /// `found`, `missing`, `other-tag`, `unreadable` or `no-tag`.
    json["state"] = CodeOf(row.state);

    list.push_back(json);
  }
  return list;
}

Json Staging(const MediaReport& report) {
  if (!report.staged) return nullptr;
  // Keys of staging
  return {
      /// The directory of the copy; `<identifier>` stands for its name.
      {"directory", ToOneLine(report.staging_directory)},
      /// The number of files that the launcher copies.
      {"files", report.staging.files},
      /// The number of directories that it makes.
      {"directories", report.staging.directories},
      /// The bytes in these files.
      {"bytes", report.staging.bytes},
      /// The bytes that are free in the temporary directory.
      {"free_bytes", report.staging.free_bytes},
      /// How many more files and directories fit there; null without a limit.
      {"free_entries", report.staging.free_entries ? Json(*report.staging.free_entries) : Json()},
      /// The names of the files, sorted; empty beyond 100000, and if staging fails.
      {"names", Texts(report.staging.names)}};
}

void AddFindings(const Findings& findings, Json& report) {
  Json list = Json::array();
  for (const Finding& finding : findings.All()) {
    Json json;
    // Keys of a finding
    /// A short and stable name; see FINDINGS.
    json["code"] = finding.Code();
    /// `error` if the start script, the launcher or the installer fails, else `warning`.
    json["severity"] = CodeOf(finding.severity);
    /// The file, directory or variable; may be empty.
    json["path"] = ToOneLine(finding.path);
    /// What is wrong.
    json["text"] = ToOneLine(finding.text);
    /// What to do about it.
    json["remedy"] = ToOneLine(finding.Remedy());

    list.push_back(json);
  }
  // Keys of both reports
  /// A list of findings, at most 100 of one code.
  report["findings"] = list;
  /// By code, how many more findings there are.
  report["further"] = Json::object();

  for (const auto& [code, count] : findings.NotKept()) report["further"][std::string(code)] = count;
}

}  // namespace

std::string JsonReport(const MediaReport& report) {
  Json json;
  // Keys of check
  /// 1. A change that breaks readers raises it.
  json["format"] = kFormat;
  /// True if there are no findings.
  json["fine"] = report.findings.Count() == 0;
  /// How a launcher that is started without the start script ends or goes on:
  /// `installer-runs`, `bad-command-line`, `no-installer`, `blank-in-installer-media`,
  /// `abort`, `query`, `staging-fails`, `cannot-start` or `cannot-be-known`.
  json["expectation"] = CodeOf(report.expectation);
  /// The exit status of the launcher, 134 for an abort; null if the installer decides, or
  /// if it cannot be known.
  json["status"] = report.status ? Json(*report.status) : Json();
  /// The same of a start by `StartTUI.sh`, or `start-script-fails` or
  /// `launcher-cannot-start`.
  json["start"] = CodeOf(report.EndOfStart());
  /// The directory of volume 1.
  json["media"] = ToOneLine(report.media_dir);
  /// The directory of the call if that of volume 1 lies below it, else empty.
  json["found_in"] = ToOneLine(report.found_in);
  /// The name of the operating-system directory.
  json["os"] = ToOneLine(report.os_name);
  /// Where that name comes from: `option`, `environment`, `start-script`, `argument` (the
  /// launcher's `-env`) or `none`.
  json["os_source"] = CodeOf(report.os_source);
  /// The file name of the installer.
  json["installer_name"] = ToOneLine(report.installer_name);
  /// Where that name comes from, as above.
  json["installer_name_source"] = CodeOf(report.installer_name_source);
  /// `single`, `flat`, `sibling`, `am`, `unknown` or `not-looked-for`.
  json["layout"] = LayoutOf(report);
  /// The number in `volumes.txt`; 1 without the file, 0 if it has no number.
  json["volume_count"] = report.volumes.count;
  /// The tag of volume 1.
  json["tag"] = ToOneLine(report.volumes.tag);
  /// A list of the first 1000 volumes and of those beyond that are there; empty for one
  /// volume.
  json["volumes"] = VolumeRows(report);
  /// An object with `path`, as found and not as staged, and `source`: `media`, `argument`,
  /// `variable` or `none`.
  json["installer"] = {{"path", ToOneLine(report.installer)}, {"source", CodeOf(report.source)}};
  /// True if the launcher would stage the installer.
  json["staged"] = report.staged;
  /// An object; null if nothing is to be staged.
  json["staging"] = Staging(report);
  /// The path of the installer as started, and its arguments; empty if the run ends before.
  json["command"] = Texts(report.command);
  /// By name, what the launcher sets or changes for the installer.
  json["variables"] = Json::object();
  for (const auto& [name, value] : report.variables)
    json["variables"][ToOneLine(name)] = ToOneLine(value);
  /// The lines of the launcher before it stages and starts.
  json["messages"] = Texts(report.messages);
  AddFindings(report.findings, json);
  return json.dump(kIndent) + "\n";
}

std::string JsonReport(const MakeReport& report) {
  Json json;
  // Keys of make
  /// As above.
  json["format"] = kFormat;
  /// True if the media was made.
  json["made"] = report.is_made;
  /// True if nothing was to be written.
  json["dry_run"] = report.is_dry_run;
  /// True if the media can be started where it lies; false for images alone.
  json["starts"] = report.starts;
  /// Why the media was not made, cannot be started anywhere or lacks an image; else empty.
  /// It is on standard error, too.
  json["message"] = ToOneLine(report.message);
  /// The tag of the call.
  json["tag"] = ToOneLine(report.tag);
  /// `single`, `flat`, `sibling` or `am`; null for a call that was refused.
  json["layout"] = report.layout ? Json(NameOf(*report.layout)) : Json();
  /// What the media takes on its file system, images included: an object with `bytes`, in
  /// whole blocks, and `entries`, files and directories.
  json["needed"] = {{"bytes", report.needed_bytes}, {"entries", report.needed_entries}};
  /// A list of the volumes.
  json["volumes"] = Json::array();

  for (const MakeReport::Volume& volume : report.volumes) {
    Json row;
    // Keys of a made volume
    /// The number of the volume.
    row["number"] = json["volumes"].size() + 1;
    /// Its directory; empty if only its image is left.
    row["directory"] = ToOneLine(volume.directory);
    /// The number of files in its payload.
    row["files"] = volume.files;
    /// The bytes in these files.
    row["bytes"] = volume.bytes;
    /// Its disc image; empty if there is none.
    row["image"] = ToOneLine(volume.image);
    /// The bytes of the image, of a dry run at most; 0 if there is none.
    row["image_bytes"] = volume.image_bytes;

    json["volumes"].push_back(row);
  }
  AddFindings(report.findings, json);
  return json.dump(kIndent) + "\n";
}

}  // namespace kvl
