#include "insio/path.h"
#include "insio/path_text.h"
#include "tests/models/laws.h"
#include "tests/models/models.h"

namespace kvl::test {
namespace {

using KVLInsIO::InsPath;

/// Composes the text of a failure only after a failure, because this runs millions of times.
void RequirePath(std::string_view what, const InsPath& seen, const PathModel& expected) {
  try {
    const std::string text = expected.Text();
    RequireEqual("text", seen.Str(), text);
    RequireEqual("is absolute", seen.IsAbsolute(), expected.is_absolute);
    RequireEqual("is empty", seen.IsEmpty(), text.empty());
    RequireEqual("root", seen.Root(), expected.Root());
    RequireEqual("relative part", seen.RelativePart(), expected.RelativePart());
    RequireEqual("file name", seen.FileName(), expected.FileName());
  } catch (const LawBroken& broken) {
    throw LawBroken(std::string(what) + ", " + broken.what());
  }
}

bool HasQuotes(const std::string& text) {
  return text.find_first_of("'\"") != std::string::npos;
}

/// The relative path leads from one absolute path to the other, as far as the texts allow: the
/// first names are compared without their first characters, and quotes around a rest are lost.
void CheckWayThere(const PathModel& from, const PathModel& to, const InsPath& way) {
  const bool in_the_same_top = from.is_absolute && to.is_absolute && !from.names.empty() &&
                               !to.names.empty() && from.names.front() == to.names.front();
  if (!in_the_same_top) return;
  for (const std::string& name : from.names) {
    if (name == "." || name == "..") return;
  }
  if (HasQuotes(from.Text()) || HasQuotes(to.Text())) return;
  const PathModel arrived = ModelOfPath(from.Text() + "/" + way.Str());
  RequireEqual("where the relative path leads", Resolved(arrived).Text(), Resolved(to).Text());
}

}  // namespace

void CheckPathLaws(const std::string& typed) {
  const PathModel model = ModelOfPath(typed);
  const std::string normal = KVLInsIO::NormalizeString(typed);
  RequireEqual("normalised", normal, model.Text());
  RequireEqual("normalised twice", KVLInsIO::NormalizeString(normal), ModelOfPath(normal).Text());
  if (!HasQuotes(normal)) {
    RequireEqual("normalised twice", KVLInsIO::NormalizeString(normal), normal);
  }
  Require(normal.find_first_of('\\') == std::string::npos, "no backslash");
  Require(normal.find("//") == std::string::npos, "no doubled slash");
  Require(normal.size() < 2 || normal.back() != '/', "no slash at the end");

  RequireEqual("slashes", KVLInsIO::ToSlashes(typed), Replaced(typed, R"(\\)", "/"));
  RequireEqual("colons", KVLInsIO::ToColons(typed), Replaced(typed, ";", ":"));

  InsPath path(typed);
  RequirePath("path", path, model);
  RequirePath("parent", path.Parent(), model.Parent());
  InsPath ancestor = path;
  for (std::size_t left = model.names.size() + 1; !ancestor.IsEmpty(); --left) {
    Require(left > 0, "the way up ends");
    ancestor = ancestor.Parent();
  }

  InsPath moved(std::move(path));
  RequirePath("moved", moved, model);
  path = std::move(moved);
  RequirePath("moved back", path, model);
  path.Clear();
  RequirePath("cleared", path, {});
}

void CheckPathPairLaws(const std::string& one, const std::string& other) {
  const PathModel one_model = ModelOfPath(one), other_model = ModelOfPath(other);
  const InsPath one_path(one), other_path(other);
  RequireEqual("equal", one_path == other_path, one_model.Text() == other_model.Text());
  RequireEqual("different", one_path != other_path, one_model.Text() != other_model.Text());

  RequirePath("joined", KVLInsIO::Join(one, other), ModelOfPath(one + "/" + other));
  const PathModel appended = ModelOfPath(one_model.Text() + "/" + other);
  InsPath left = one_path;
  Require(&(left /= other) == &left, "the left operand is returned");
  RequirePath("appended", left, appended);
  left = one_path;
  Require(&(left / other) == &left, "the left operand is returned");
  RequirePath("appended by /", left, appended);

  PathModel combined = other_model;
  if (!other_model.is_absolute) {
    combined = other_model.names.empty() ? one_model
                                         : ModelOfPath(one_model.Text() + "/" + other_model.Text());
  }
  RequirePath("combined", KVLInsIO::Combine(one_path, other_path), combined);

  const InsPath way = MakeRelative(one_path, other_path);
  const std::string expected_way = ModelOfMakeRelative(one_model, other_model);
  RequireEqual("relative path", way.Str(), expected_way);
  // The rest of a path may be in quotes, and the quotes may contain anything.
  if (!HasQuotes(other)) RequireEqual("relative path is absolute", way.IsAbsolute(), false);
  CheckWayThere(one_model, other_model, way);
}

}  // namespace kvl::test
