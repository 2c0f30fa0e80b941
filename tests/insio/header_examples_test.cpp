// Reads the examples in the comments of the headers of paths and tries them, exactly those that a
// reader sees.

#include "insio/path.h"
#include "insio/path_text.h"
#include "tests/support/outcome.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using namespace KVLInsIO;

/// A function of one path or two; `separator` stands between the two in an example.
struct Operation {
  std::size_t examples;  ///< how many examples its header has
  std::string separator;
  std::function<std::string(const std::string&, const std::string&)> result;
};

/// The functions, by the words of the declaration before "(".
const std::map<std::string, Operation> kOperations = {
    {"std::string NormalizeString",
     {9, "", [](auto& text, auto&) { return NormalizeString(text); }}},
    {"std::string ToSlashes", {1, "", [](auto& text, auto&) { return ToSlashes(text); }}},
    {"std::string ToColons", {1, "", [](auto& text, auto&) { return ToColons(text); }}},
    {"std::string Root", {4, "", [](auto& path, auto&) { return InsPath(path).Root(); }}},
    {"std::string RelativePart",
     {5, "", [](auto& path, auto&) { return InsPath(path).RelativePart(); }}},
    {"std::string FileName", {5, "", [](auto& path, auto&) { return InsPath(path).FileName(); }}},
    {"InsPath Parent", {5, "", [](auto& path, auto&) { return InsPath(path).Parent().Str(); }}},
    {"InsPath& operator/=",
     {3, " /= ", [](auto& path, auto& text) { return (InsPath(path) /= text).Str(); }}},
    {"InsPath Join", {4, ", ", [](auto& a, auto& b) { return Join(a, b).Str(); }}},
    {"InsPath Combine",
     {3, ", ", [](auto& base, auto& path) { return Combine(InsPath(base), InsPath(path)).Str(); }}},
    {"InsPath MakeRelative",
     {14, ", ",
      [](auto& from, auto& to) { return MakeRelative(InsPath(from), InsPath(to)).Str(); }}},
};

std::string Meant(const std::string& text) {
  return text == "(empty)" ? "" : text;
}

/// Returns "given" and "expected" of each example in the comment above each declaration of a
/// header. At least two blanks separate the examples of a line, and each side from its "=>".
std::map<std::string, std::vector<std::pair<std::string, std::string>>> ExamplesIn(
    const std::string& header) {
  const std::string declaration = " *(?:\\[\\[nodiscard\\]\\] )?([^(]*)\\(.*";
  const std::string example = "(\\S+(?: \\S+)*) {2,}=> {2,}(\\S+(?: \\S+)*)";
  std::map<std::string, std::vector<std::pair<std::string, std::string>>> all;
  std::vector<std::pair<std::string, std::string>> examples;
  std::istringstream lines(header);
  for (std::string line; std::getline(lines, line);) {
    const Groups declared = MatchOf(line, declaration);
    if (line.find("///") != std::string::npos) {
      for (const Groups& found : MatchesIn(line, example))
        examples.emplace_back(found[1], found[2]);
    } else if (!declared.empty() && !examples.empty()) {
      all[declared[1]] = std::exchange(examples, {});
    }
  }
  return all;
}

TEST(HeaderExamples, OfEveryPathOperationAreTrue) {
  if (!fs::exists(SourceFile("insio/path.h"))) GTEST_SKIP() << "the sources are not there";
  auto examples = ExamplesIn(ReadFile(SourceFile("insio/path.h")));
  examples.merge(ExamplesIn(ReadFile(SourceFile("insio/path_text.h"))));
  EXPECT_EQ(examples.size(), kOperations.size());
  for (const auto& [declaration, operation] : kOperations) {
    SCOPED_TRACE(declaration);
    EXPECT_EQ(examples[declaration].size(), operation.examples);
    for (const auto& [given, expected] : examples[declaration]) {
      const std::size_t end =
          operation.separator.empty() ? given.size() : given.find(operation.separator);
      const std::size_t next = std::min(end + operation.separator.size(), given.size());
      EXPECT_EQ(operation.result(Meant(given.substr(0, end)), Meant(given.substr(next))),
                Meant(expected))
          << "given: " << given;
    }
  }
}

}  // namespace
}  // namespace kvl::test
