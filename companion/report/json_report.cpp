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
    list.push_back({{"number", row.number},
                    {"directory", ToOneLine(row.directory)},
                    {"tag", ToOneLine(row.tag)},
                    {"state", CodeOf(row.state)}});
  }
  return list;
}

Json Staging(const MediaReport& report) {
  if (!report.staged) return nullptr;
  return {
      {"directory", ToOneLine(report.staging_directory)},
      {"files", report.staging.files},
      {"directories", report.staging.directories},
      {"bytes", report.staging.bytes},
      {"free_bytes", report.staging.free_bytes},
      {"free_entries", report.staging.free_entries ? Json(*report.staging.free_entries) : Json()},
      {"names", Texts(report.staging.names)}};
}

void AddFindings(const Findings& findings, Json& json) {
  Json list = Json::array();
  for (const Finding& finding : findings.All()) {
    list.push_back({{"code", finding.Code()},
                    {"severity", CodeOf(finding.severity)},
                    {"path", ToOneLine(finding.path)},
                    {"text", ToOneLine(finding.text)},
                    {"remedy", ToOneLine(finding.Remedy())}});
  }
  json["findings"] = list;
  json["further"] = Json::object();
  for (const auto& [code, count] : findings.NotKept()) json["further"][std::string(code)] = count;
}

}  // namespace

std::string JsonReport(const MediaReport& report) {
  Json json;
  json["format"] = kFormat;
  json["fine"] = report.findings.Count() == 0;
  json["expectation"] = CodeOf(report.expectation);
  json["status"] = report.status ? Json(*report.status) : Json();
  json["start"] = CodeOf(report.EndOfStart());
  json["media"] = ToOneLine(report.media_dir);
  json["found_in"] = ToOneLine(report.found_in);
  json["os"] = ToOneLine(report.os_name);
  json["os_source"] = CodeOf(report.os_source);
  json["installer_name"] = ToOneLine(report.installer_name);
  json["installer_name_source"] = CodeOf(report.installer_name_source);
  json["layout"] = LayoutOf(report);
  json["volume_count"] = report.volumes.count;
  json["tag"] = ToOneLine(report.volumes.tag);
  json["volumes"] = VolumeRows(report);
  json["installer"] = {{"path", ToOneLine(report.installer)}, {"source", CodeOf(report.source)}};
  json["staged"] = report.staged;
  json["staging"] = Staging(report);
  json["command"] = Texts(report.command);
  json["variables"] = Json::object();
  for (const auto& [name, value] : report.variables)
    json["variables"][ToOneLine(name)] = ToOneLine(value);
  json["messages"] = Texts(report.messages);
  AddFindings(report.findings, json);
  return json.dump(kIndent) + "\n";
}

std::string JsonReport(const MakeReport& report) {
  Json json;
  json["format"] = kFormat;
  json["made"] = report.is_made;
  json["dry_run"] = report.is_dry_run;
  json["starts"] = report.starts;
  json["message"] = ToOneLine(report.message);
  json["tag"] = ToOneLine(report.tag);
  json["layout"] = report.layout ? Json(NameOf(*report.layout)) : Json();
  json["needed"] = {{"bytes", report.needed_bytes}, {"entries", report.needed_entries}};
  json["volumes"] = Json::array();
  for (const MakeReport::Volume& volume : report.volumes) {
    json["volumes"].push_back({{"number", json["volumes"].size() + 1},
                               {"directory", ToOneLine(volume.directory)},
                               {"files", volume.files},
                               {"bytes", volume.bytes},
                               {"image", ToOneLine(volume.image)},
                               {"image_bytes", volume.image_bytes}});
  }
  AddFindings(report.findings, json);
  return json.dump(kIndent) + "\n";
}

}  // namespace kvl
