#include "companion/report/verify_report.h"

#include <algorithm>
#include <nlohmann/json.hpp>
#include <vector>

#include "companion/names/layout_name.h"
#include "companion/names/plain_text.h"
#include "companion/report/report_words.h"

namespace kvl {
namespace {

using Json = nlohmann::ordered_json;
using Numbers = std::vector<std::size_t>;

constexpr int kVerifyFormat = 1;

/// Shortens numbers in rising order: 1 2 3 5  =>  1-3, 5
std::string Ranges(const Numbers& numbers) {
  std::string text;
  for (std::size_t i = 0; i < numbers.size(); ++i) {
    std::size_t last = i;
    while (last + 1 < numbers.size() && numbers[last + 1] == numbers[last] + 1) ++last;
    text += (text.empty() ? "" : ", ") + std::to_string(numbers[i]);
    if (last > i) text += "-" + std::to_string(numbers[last]);
    i = last;
  }
  return text;
}

std::string Line(const Flaw& flaw) {
  constexpr std::size_t kCodeWidth = 14;
  std::string label(CodeOf(flaw.kind));
  std::replace(label.begin(), label.end(), '-', ' ');
  const std::string detail = flaw.detail.empty() ? "" : ": " + ToOneLine(flaw.detail);
  return Padded(label, kCodeWidth) + ToOneLine(flaw.path) + detail + "\n";
}

std::string Verdict(const VerifyReport& report) {
  const Numbers rest = report.NotLookedAt();
  const Numbers looked_at(report.looked_at.begin(), report.looked_at.end());
  const std::string sizes = Counted(report.files, "file") + ", " + Counted(report.bytes, "byte");
  const std::string left_out = rest.empty() ? "" : "; not looked at: " + NamedVolumes(rest);
  if (!report.flaws.empty()) {
    return Counted(report.flaws.size(), "problem") + "; read: " + sizes + left_out;
  }
  const std::string genuine = report.has_key ? " and genuine: " : ": ";
  const std::string proof = report.has_key ? "" : "; not proven genuine: no key was given";
  if (rest.empty()) {
    return "Whole" + genuine + Counted(report.volumes, "volume") + ", " + sizes + proof;
  }
  return "Unharmed" + genuine + NamedVolumes(looked_at) + " of " + std::to_string(report.volumes) +
         ", " + sizes + left_out + proof;
}

Json ListOf(const std::vector<Flaw>& flaws) {
  Json list = Json::array();
  for (const Flaw& flaw : flaws) {
    list.push_back({{"code", CodeOf(flaw.kind)},
                    {"path", ToOneLine(flaw.path)},
                    {"text", ToOneLine(flaw.detail)}});
  }
  return list;
}

}  // namespace

std::string NamedVolumes(const Numbers& numbers) {
  return (numbers.size() == 1 ? "volume " : "volumes ") + Ranges(numbers);
}

std::string VerifyText(const VerifyReport& report) {
  std::string text;
  for (const Flaw& flaw : report.flaws) text += Line(flaw);
  return text + Verdict(report) + "\n";
}

std::string VerifyJson(const VerifyReport& report) {
  Json json;
  // Keys of verify
  /// As above.
  json["format"] = kVerifyFormat;
  /// True if every volume was looked at and nothing is wrong.
  json["whole"] = report.IsWhole();
  /// The same, proven by the key; null without one.
  json["genuine"] =
      report.has_key ? Json(report.flaws.empty() && !report.looked_at.empty()) : Json();
  /// The tag of the manifest.
  json["tag"] = ToOneLine(report.tag);
  /// The layout of the manifest.
  json["layout"] = report.volumes == 0 ? "unknown" : NameOf(report.layout);
  /// The number of volumes of the manifest.
  json["volume_count"] = report.volumes;
  /// The numbers of the volumes that were looked at.
  json["looked_at"] = report.looked_at;
  /// The numbers of the others.
  json["not_looked_at"] = report.NotLookedAt();
  /// How many files on lists were read.
  json["files"] = report.files;
  /// The bytes in them.
  json["bytes"] = report.bytes;
  /// A list of all findings, with `code`, `path` and `text`. The codes are `missing`,
  /// `damaged`, `not-listed`, `wrong-kind`, `wrong-mode`, `wrong-link`, `bad-manifest`,
  /// `wrong-list`, `other-tag`, `other-media`, `other-volume`, `not-genuine` and `unreadable`.
  json["findings"] = ListOf(report.flaws);
  return json.dump(/*indent=*/2) + "\n";
}

}  // namespace kvl
