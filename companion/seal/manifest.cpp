#include "companion/seal/manifest.h"

#include <algorithm>
#include <charconv>
#include <cstddef>
#include <optional>
#include <system_error>
#include <utility>

#include "companion/names/layout_name.h"
#include "companion/seal/listed_path.h"

namespace kvl {
namespace {

constexpr char kFirstLine[] = "kvl-media manifest 1";
constexpr char kTag[] = "tag ";
constexpr char kLayout[] = "layout ";
constexpr char kVolumes[] = "volumes ";
constexpr char kVolume[] = "volume ";
constexpr char kDirectory[] = "directory ";
constexpr char kProgram[] = "program ";
constexpr char kLink[] = "link ";
constexpr char kEnd[] = "end";

constexpr char kNotHere[] = "unexpected line";

std::string InField(const std::string& path) {
  return Escaped(path, Escapes::kOfFields);
}

void AddVolume(std::size_t number, const ManifestVolume& volume, std::string& text) {
  text += kVolume + std::to_string(number) + " " + std::to_string(volume.files) + " " +
          std::to_string(volume.bytes) + " " + volume.list.Hex() + "\n";
  for (const std::string& path : volume.directories) text += kDirectory + InField(path) + "\n";
  for (const std::string& path : volume.programs) text += kProgram + InField(path) + "\n";
  for (const ManifestLink& link : volume.links) {
    text += kLink + InField(link.path) + "\t" + InField(link.target) + "\n";
  }
}

bool IsControl(char byte) {
  constexpr unsigned char kBlank = ' ', kDelete = 0x7F;
  const auto code = static_cast<unsigned char>(byte);
  return code < kBlank || code == kDelete;
}

/// Returns the number of decimal digits without a leading 0, and nothing for any other text.
std::optional<std::uint64_t> NumberIn(std::string_view text) {
  std::uint64_t number = 0;
  const auto result = std::from_chars(text.data(), text.data() + text.size(), number);
  if (result.ec != std::errc() || std::to_string(number) != text) return {};
  return number;
}

/// Returns the text between two places, and an empty text if they leave no room.
std::string_view Between(std::string_view text, std::size_t before, std::size_t behind) {
  return before < behind ? text.substr(before + 1, behind - before - 1) : std::string_view();
}

bool IsIn(const std::vector<std::string>& sorted, const std::string& path) {
  return std::binary_search(sorted.begin(), sorted.end(), path, PathOrder());
}

class Parser {
 public:
  explicit Parser(std::string_view text) : rest_(text) { Advance(); }

  Manifest Run() {
    Manifest manifest;
    if (line_ != kFirstLine) Refuse(std::string("not \"") + kFirstLine + "\"");
    Advance();
    manifest.tag = Tag();
    manifest.layout = TakenLayout();
    const std::uint64_t count = Count(manifest.layout);
    for (std::uint64_t i = 1; i <= count; ++i) manifest.volumes.push_back(Volume(i));
    if (line_ != kEnd) Refuse(kNotHere);
    if (!rest_.empty()) {
      ++number_;
      Refuse("there is text behind the end");
    }
    return manifest;
  }

 private:
  [[noreturn]] void Refuse(const std::string& reason) const { throw RefusedText(number_, reason); }

  /// Goes to the next line, which must exist.
  void Advance() {
    ++number_;
    const std::size_t end = rest_.find('\n');
    if (end == std::string_view::npos) {
      Refuse(rest_.empty() ? "the end is missing" : "the line feed at its end is missing");
    }
    line_ = rest_.substr(0, end);
    rest_.remove_prefix(end + 1);
  }

  /// Returns what follows the word, and nothing if the line does not begin with the word.
  std::optional<std::string_view> Behind(std::string_view word) const {
    if (!line_.starts_with(word)) return {};
    return line_.substr(word.size());
  }

  std::string Tag() {
    std::string tag(Behind(kTag).value_or(""));
    if (tag.empty() || tag.size() > kLongestTag || std::any_of(tag.begin(), tag.end(), IsControl)) {
      Refuse("not a valid tag");
    }
    Advance();
    return tag;
  }

  Layout TakenLayout() {
    const std::string_view name = Behind(kLayout).value_or("");
    if (std::find(kLayoutNames.begin(), kLayoutNames.end(), name) == kLayoutNames.end()) {
      Refuse("not a valid layout");
    }
    Advance();
    return LayoutNamed(name);
  }

  std::uint64_t Count(Layout layout) {
    const std::uint64_t count = NumberIn(Behind(kVolumes).value_or("")).value_or(0);
    if (count == 0 || count > kMostVolumes) Refuse("not a valid number of volumes");
    if ((layout == kSingle) != (count == 1))
      Refuse("the number of volumes does not fit the layout");
    Advance();
    return count;
  }

  ManifestVolume Volume(std::uint64_t number) {
    ManifestVolume volume = Figures(number);
    while (const auto path = Behind(kDirectory)) {
      const std::vector<std::string>& before = volume.directories;
      volume.directories.push_back(NewPath(*path, volume, before.empty() ? "" : before.back()));
      Advance();
    }
    while (const auto path = Behind(kProgram)) {
      const std::vector<std::string>& before = volume.programs;
      volume.programs.push_back(NewPath(*path, volume, before.empty() ? "" : before.back()));
      Advance();
    }
    while (const auto link = Behind(kLink)) {
      const std::size_t tab = link->find('\t');
      if (tab == std::string_view::npos) Refuse("the target of the link is missing");
      const std::vector<ManifestLink>& before = volume.links;
      std::string path =
          NewPath(link->substr(0, tab), volume, before.empty() ? "" : before.back().path);
      std::string target = Field(link->substr(tab + 1));
      if (!LeadsInside(path, target)) Refuse("the link leads out of the volume");
      volume.links.push_back({std::move(path), std::move(target)});
      Advance();
    }
    return volume;
  }

  /// Parses the line that begins a volume.
  ManifestVolume Figures(std::uint64_t number) {
    const auto text = Behind(kVolume + std::to_string(number) + " ");
    if (!text) Refuse(kNotHere);
    const std::size_t first = std::min(text->find(' '), text->size());
    const std::size_t second = std::min(text->find(' ', first + 1), text->size());
    const auto files = NumberIn(text->substr(0, first));
    const auto bytes = NumberIn(Between(*text, first, second));
    const auto list = Digest::FromHex(Between(*text, second, text->size()));
    if (!files || !bytes || !list) Refuse("not valid files, bytes and digest of a volume");
    Advance();
    return {.files = *files,
            .bytes = *bytes,
            .list = *list,
            .directories = {},
            .programs = {},
            .links = {}};
  }

  std::string Field(std::string_view text) const {
    std::optional<std::string> field = Unescaped(text, Escapes::kOfFields);
    if (!field) Refuse("a backslash, tab or line break is not escaped correctly");
    return *std::move(field);
  }

  /// Parses a path, which must come behind `last` of its kind, and must not be listed as another
  /// kind.
  std::string NewPath(std::string_view text, const ManifestVolume& volume,
                      std::string_view last) const {
    std::string path = Field(text);
    if (!IsListedPath(path)) Refuse("the path is not one inside the volume");
    if (!PathOrder()(last, path) || IsIn(volume.directories, path) || IsIn(volume.programs, path)) {
      Refuse("the path is repeated or out of order");
    }
    const std::size_t slash = path.rfind('/');
    if (slash != std::string::npos && !IsIn(volume.directories, path.substr(0, slash))) {
      Refuse("the directory of the path is not listed");
    }
    return path;
  }

  std::string_view rest_, line_;
  std::size_t number_ = 0;
};

}  // namespace

std::string TextOf(const Manifest& manifest) {
  const std::vector<ManifestVolume>& volumes = manifest.volumes;
  std::string text = std::string(kFirstLine) + "\n" + kTag + manifest.tag + "\n" + kLayout +
                     NameOf(manifest.layout) + "\n" + kVolumes + std::to_string(volumes.size()) +
                     "\n";
  for (std::size_t i = 0; i < volumes.size(); ++i) AddVolume(i + 1, volumes[i], text);
  return text + kEnd + "\n";
}

Manifest ParseManifest(std::string_view text) {
  return Parser(text).Run();
}

}  // namespace kvl
