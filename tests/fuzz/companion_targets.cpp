// The targets for the companion: texts from a disc, and the reports on it.
#include <elf.h>
#include <nlohmann/json.hpp>

#include "companion/check/program_head.h"
#include "companion/check/start_script.h"
#include "companion/make/payload_split.h"
#include "companion/make/volume_size.h"
#include "companion/names/plain_text.h"
#include "companion/report/json_report.h"
#include "companion/report/text_report.h"
#include "companion/report/verify_report.h"
#include "companion/seal/file_list.h"
#include "companion/seal/listed_path.h"
#include "companion/seal/manifest.h"
#include "companion/seal/signature.h"
#include "tests/fuzz/targets.h"
#include "tests/models/byte_source.h"
#include "tests/models/laws.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

std::string BytesOf(const std::uint8_t* data, std::size_t size) {
  return size == 0 ? std::string() : std::string(reinterpret_cast<const char*>(data), size);
}

/// Requires valid UTF-8 without anything that a terminal obeys, except line ends.
void RequireHarmless(const std::string& text) {
  const bool has_control = std::ranges::any_of(
      text, [](unsigned char byte) { return (byte < ' ' && byte != '\n') || byte == 0x7F; });
  Require(!has_control, "no control character of ASCII");
  for (std::size_t i = 0; (i = text.find('\xC2', i)) != std::string::npos; ++i) {
    Require(static_cast<unsigned char>(text.at(i + 1)) >= 0xA0, "no other control character");
  }
  for (const char* obeyed :
       {"\xD8\x9C", "\xE2\x80\x8E", "\xE2\x80\x8F", "\xE2\x80\xA8", "\xE2\x80\xA9", "\xE2\x80\xAA",
        "\xE2\x80\xAE", "\xE2\x81\xA6", "\xE2\x81\xA9"}) {
    Require(text.find(obeyed) == std::string::npos, "nothing that turns the direction of a text");
  }
  nlohmann::json(text).dump();  // throws unless it is UTF-8
}

void CheckReport(const std::string& json, const std::string& text) {
  RequireHarmless(json);
  RequireHarmless(text);
  const auto parsed = nlohmann::json::parse(json);
  Require(parsed.is_object() && parsed["format"] == 1, "one object of the format");
}

void AddFindings(ByteSource& bytes, Findings& findings) {
  const auto rows = FindingCatalogue();
  for (std::size_t count = bytes.Below(8); count > 0; --count) {
    const FindingRow& row = rows[bytes.Below(rows.size())];
    const Severity severity = bytes.Chance(128) ? Severity::kError : Severity::kWarning;
    const std::string path = bytes.Text(), one = bytes.Text(), other = bytes.Text();
    findings.Add(row.kind, severity, path, {one, other});
  }
}

MediaReport MediaReportOf(ByteSource& bytes) {
  MediaReport report;
  AddFindings(bytes, report.findings);
  report.expectation = static_cast<Expectation>(bytes.Below(8));
  if (bytes.Chance(128)) report.status = bytes.Byte();
  report.staged = bytes.Chance(128);
  report.volumes_looked_for = bytes.Chance(128);
  report.source = static_cast<InstallerSource>(bytes.Below(4));
  report.layout = static_cast<Layout>(bytes.Below(4));
  report.volumes.count = static_cast<VolumeNumber>(bytes.Below(4));
  for (std::size_t i = 0, count = bytes.Below(4); i < count; ++i) {
    report.volumes.rows.push_back({static_cast<VolumeNumber>(i + 1), bytes.Text(), bytes.Text(),
                                   static_cast<VolumeState>(bytes.Below(5))});
  }
  for (std::string* text : {&report.media_dir, &report.os_name, &report.installer_name,
                            &report.installer, &report.volumes.tag, &report.staging_directory}) {
    *text = bytes.Text();
  }
  report.variables[bytes.Text()] = bytes.Text();
  report.messages = {bytes.Text()};
  report.staging.names = {bytes.Text()};
  report.command = bytes.Texts();
  return report;
}

MakeReport MakeReportOf(ByteSource& bytes) {
  MakeReport report;
  report.is_made = bytes.Chance(128);
  AddFindings(bytes, report.findings);
  report.message = bytes.Text();
  report.tag = bytes.Text();
  report.volumes = {{bytes.Text(), bytes.Byte(), bytes.Byte()}};
  return report;
}

VerifyReport VerifyReportOf(ByteSource& bytes) {
  VerifyReport report;
  report.has_key = bytes.Chance(128);
  report.tag = bytes.Text();
  report.volumes = bytes.Below(10);
  while (bytes.Chance(128)) report.looked_at.insert(1 + bytes.Below(9));
  while (!bytes.AtEnd()) {
    const auto kind = static_cast<FlawKind>(bytes.Below(13));
    const std::string path = bytes.Text();
    report.flaws.push_back({kind, path, bytes.Text()});
  }
  return report;
}

/// Returns the bytes that ToOneLine has encoded.
std::string ReadBack(const std::string& text) {
  std::string bytes;
  for (std::size_t i = 0; i < text.size(); ++i) {
    if (text[i] != '\\') {
      bytes += text[i];
    } else if (text.at(++i) == 'x') {
      bytes += static_cast<char>(std::stoi(text.substr(i + 1, 2), nullptr, 16));
      i += 2;
    } else {
      bytes += text[i];
    }
  }
  return bytes;
}

std::vector<std::string> NamesOf(const std::string& path) {
  std::istringstream stream(path);
  std::vector<std::string> names;
  for (std::string name; std::getline(stream, name, '/');) names.push_back(name);
  return names;
}

/// Returns whether every step of the path stays inside. Uses a stack of names.
bool ModelOfLeadsInside(const std::string& path, const std::string& target) {
  if (target.empty() || target[0] == '/' || target.find('\0') != std::string::npos) return false;
  std::vector<std::string> way = NamesOf(path);
  way.pop_back();
  for (const std::string& name : NamesOf(target)) {
    if (name.empty() || name == ".") continue;
    if (name != "..") {
      way.push_back(name);
    } else if (way.empty()) {
      return false;
    } else {
      way.pop_back();
    }
  }
  return true;
}

}  // namespace

void FuzzStartScript(const std::uint8_t* data, std::size_t size) {
  const std::string script = BytesOf(data, size), name = "KVL_OS";
  const std::string found = AssignmentIn(script, name);
  Require(found.find_first_of("$`\\\"' \t\n;&|<>()*?[#~") == std::string::npos,
          "nothing for a shell to expand");
  Require(script.find(name + "=") != std::string::npos || found.empty(), "a value has its name");
  for (const char* quote : {"", "'", "\""}) {
    const std::string more = script + "\nesac\n export " + name + "=" + quote + "value" + quote;
    RequireEqual("value of the last line", AssignmentIn(more, name), std::string("value"));
    RequireEqual("value before a comment", AssignmentIn(more + "\n#" + name + "=no", name),
                 std::string("value"));
  }
}

void FuzzProgramHead(const std::uint8_t* data, std::size_t size) {
  const std::string bytes = BytesOf(data, size);
  const ProgramHead head(FileStart{bytes});
  RequireEqual("empty", head.IsEmpty(), bytes.empty());
  RequireEqual("script", head.IsScript(), bytes.starts_with("#!"));
  Require(!head.IsBinary() || bytes.starts_with(ELFMAG), "a binary begins as one");
  const std::string interpreter = head.Interpreter();
  const std::string line = bytes.substr(0, bytes.find('\n'));
  Require(interpreter.empty() || head.IsScript(), "only a script has an interpreter");
  Require(line.find(interpreter) != std::string::npos, "it stands in the first line");
  Require(interpreter.find_first_of(" \t\n") == std::string::npos, "it is one word");
  Require(!head.HasCarriageReturn() || line.ends_with('\r') || line.size() > 256,
          "a carriage return ends the first line");
}

void FuzzBinary(const std::uint8_t* data, std::size_t size) {
  static const TestDirectory directory;
  const std::string bytes = BytesOf(data, size), path = directory.Path("binary");
  if (!IsBinary(bytes)) return;
  WriteFile(path, bytes);
  const BinaryCheck check = CheckBinary(path);
  Require(check.fault != BinaryFault::kNone || size >= sizeof(Elf32_Ehdr),
          "what has no header is not started");
  Require(check.fault != BinaryFault::kOtherMachine || check.machine != check.own_machine,
          "another machine has another name");
}

void FuzzVolumeSize(const std::uint8_t* data, std::size_t size) {
  const std::string text = BytesOf(data, size);
  const std::string letters = "KMG";
  const bool is_decimal = text.ends_with("B");
  std::string digits = text.substr(0, text.size() - (is_decimal ? 1 : 0));
  const std::size_t unit = digits.empty() ? std::string::npos : letters.find(digits.back());
  if (unit != std::string::npos) digits.pop_back();
  const bool is_number = !digits.empty() && std::ranges::all_of(digits, [](char digit) {
    return digit >= '0' && digit <= '9';
  });
  const bool is_size = is_number && (unit != std::string::npos || !is_decimal);
  long double model = is_size ? std::stold(digits) : 0;
  for (std::size_t i = 0; unit != std::string::npos && i <= unit; ++i) {
    model *= is_decimal ? 1000 : 1024;
  }
  for (const auto& [disc, sectors] :
       {std::pair{"cd", 332850}, {"dvd", 2295104}, {"dvd-dl", 4171712}}) {
    if (text == disc) model = sectors * 2048.0L;
  }
  try {
    const std::uint64_t bytes = ParseVolumeSize(text);
    Require(bytes > 0, "a size is above 0");
    RequireEqual("size", static_cast<long double>(bytes), model);
  } catch (const CannotMake&) {
    Require(model == 0 || model >= 18446744073709551616.0L, "only what is no size is refused");
  }
}

void FuzzPlainText(const std::uint8_t* data, std::size_t size) {
  const std::string bytes = BytesOf(data, size), text = ToOneLine(bytes);
  RequireHarmless(text);
  Require(text.find('\n') == std::string::npos, "it is one line");
  RequireEqual("bytes that are read back", ReadBack(text), bytes);
}

void FuzzReports(const std::uint8_t* data, std::size_t size) {
  ByteSource bytes(data, size);
  switch (bytes.Below(3)) {
    case 0: {
      const MediaReport report = MediaReportOf(bytes);
      CheckReport(JsonReport(report), TextReport(report, Detail::kVerbose));
      break;
    }
    case 1: {
      const MakeReport report = MakeReportOf(bytes);
      CheckReport(JsonReport(report), FindingLines(report.findings));
      break;
    }
    default: {
      const VerifyReport report = VerifyReportOf(bytes);
      CheckReport(VerifyJson(report), VerifyText(report));
    }
  }
}

void FuzzFileList(const std::uint8_t* data, std::size_t size) {
  const std::string text = BytesOf(data, size);
  std::string_view rest = text;
  FileListReader reader([&](std::span<char> room) {
    const std::size_t count = rest.copy(room.data(), std::min<std::size_t>(room.size(), 7));
    rest.remove_prefix(count);
    return count;
  });
  std::string read, last;
  try {
    while (const auto file = reader.Next()) {
      Require(IsListedPath(file->path), "a path that stays on the volume");
      Require(last.empty() || PathOrder()(last, file->path), "in order");
      read += LineOf(*file);
      last = file->path;
    }
    RequireEqual("lines", read, text);
    RequireEqual("digest", reader.Finish(), DigestOf(text));
  } catch (const RefusedText& refused) {
    RequireHarmless(refused.what());
  }
}

void FuzzManifest(const std::uint8_t* data, std::size_t size) {
  const std::string text = BytesOf(data, size);
  try {
    const Manifest manifest = ParseManifest(text);
    RequireEqual("text", TextOf(manifest), text);
    for (const ManifestVolume& volume : manifest.volumes) {
      for (const ManifestLink& link : volume.links) {
        Require(LeadsInside(link.path, link.target), "a link that stays on the volume");
      }
    }
  } catch (const RefusedText& refused) {
    RequireHarmless(refused.what());
  }
}

void FuzzListedPath(const std::uint8_t* data, std::size_t size) {
  ByteSource bytes(data, size);
  const std::string path = bytes.Text(), other = bytes.Text();
  for (const Escapes escapes : {Escapes::kOfLines, Escapes::kOfFields}) {
    const std::string escaped = Escaped(path, escapes);
    Require(escaped.find('\n') == std::string::npos, "it is one line");
    RequireEqual("path", Unescaped(escaped, escapes), std::optional(path));
    if (const auto read = Unescaped(other, escapes)) {
      RequireEqual("text", Escaped(*read, escapes), other);
    }
  }
  if (!IsListedPath(path)) return;
  RequireEqual("leads inside", LeadsInside(path, other), ModelOfLeadsInside(path, other));
  if (!IsListedPath(other)) return;
  RequireEqual("order", PathOrder()(path, other), NamesOf(path) < NamesOf(other));
}

void FuzzSignature(const std::uint8_t* data, std::size_t size) {
  ByteSource bytes(data, size);
  const std::string key_text = bytes.Text(), text = bytes.Text(), signature = bytes.Text();
  const std::string reason = WhyNoSignature(signature);
  RequireHarmless(reason);
  const PublicKey key = PublicKey::From(key_text).value_or(PublicKey{});
  const std::string not_genuine = WhyNotGenuine(key, text, signature);
  Require(reason.empty() || !not_genuine.empty(), "what is no signature proves nothing");
  RequireHarmless(not_genuine);
}

}  // namespace kvl::test
