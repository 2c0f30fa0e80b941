// The examples in the comments of the headers of paths, read from there and tried out: not one more
// or less than what a reader sees.

#include "insio/path.h"
#include "insio/path_text.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using KVLInsIO::InsPath;

struct Example {
  std::string given;
  std::string expected;
};

/// The lines of comment right above the line that is this declaration.
std::vector<std::string> CommentAbove(const std::string& declaration, const std::string& header) {
  std::vector<std::string> comment;
  std::istringstream lines(header);
  for (std::string line; std::getline(lines, line);) {
    line = std::regex_replace(line, std::regex("^ *(\\[\\[nodiscard\\]\\] )?"), "");
    if (line == declaration) return comment;
    if (line.starts_with("///")) {
      comment.push_back(line.substr(3));
    } else {
      comment.clear();
    }
  }
  return {};
}

/// The columns of a line, which two blanks or more keep apart.
std::vector<std::string> ColumnsOf(const std::string& line) {
  static const std::regex gap(" {2,}");
  return {std::sregex_token_iterator(line.begin(), line.end(), gap, -1), {}};
}

std::string Meant(const std::string& text) {
  return text == "(empty)" ? "" : text;
}

/// Every "given  =>  expected" of the comment above a declaration.
std::vector<Example> ExamplesAbove(const std::string& declaration, const std::string& header) {
  std::vector<Example> examples;
  for (const std::string& line : CommentAbove(declaration, header)) {
    const std::vector<std::string> columns = ColumnsOf(line);
    for (std::size_t i = 1; i + 1 < columns.size(); ++i) {
      if (columns[i] == "=>") examples.push_back({columns[i - 1], Meant(columns[i + 1])});
    }
  }
  return examples;
}

/// The two operands of an example, with `separator` between.
std::pair<std::string, std::string> Operands(const std::string& given,
                                             const std::string& separator) {
  const std::size_t at = given.find(separator);
  if (at == std::string::npos) return {"no operand", "no operand"};
  return {Meant(given.substr(0, at)), Meant(given.substr(at + separator.size()))};
}

/// An operation on one path, as one on texts.
using OnOne = std::function<std::string(const std::string&)>;
using OnTwo = std::function<std::string(const std::string&, const std::string&)>;

OnOne Taking(const OnOne& operation) {
  return [operation](const std::string& given) { return operation(Meant(given)); };
}

OnOne TakingTwo(const OnTwo& operation, const std::string& separator = ", ") {
  return [operation, separator](const std::string& given) {
    const auto [left, right] = Operands(given, separator);
    return operation(left, right);
  };
}

std::string Appended(const std::string& path, const std::string& text) {
  InsPath result(path);
  result /= text;
  return result.Str();
}

struct Operation {
  std::string header, declaration;
  std::size_t examples;  ///< how many its header gives
  OnOne result;
};

const std::vector<Operation> kOperations = {
    {"insio/path_text.h", "std::string NormalizeString(std::string text);", 9,
     Taking(KVLInsIO::NormalizeString)},
    {"insio/path_text.h", "std::string ToSlashes(std::string text);", 1,
     Taking(KVLInsIO::ToSlashes)},
    {"insio/path_text.h", "std::string ToColons(std::string text);", 1, Taking(KVLInsIO::ToColons)},
    {"insio/path.h", "std::string Root() const;", 4,
     Taking([](const std::string& path) { return InsPath(path).Root(); })},
    {"insio/path.h", "std::string RelativePart() const;", 5,
     Taking([](const std::string& path) { return InsPath(path).RelativePart(); })},
    {"insio/path.h", "std::string FileName() const;", 5,
     Taking([](const std::string& path) { return InsPath(path).FileName(); })},
    {"insio/path.h", "InsPath Parent() const;", 5,
     Taking([](const std::string& path) { return InsPath(path).Parent().Str(); })},
    {"insio/path.h", "InsPath& operator/=(std::string_view text);", 3, TakingTwo(Appended, " /= ")},
    {"insio/path.h", "InsPath Join(std::string_view a, std::string_view b);", 4,
     TakingTwo(
         [](const std::string& a, const std::string& b) { return KVLInsIO::Join(a, b).Str(); })},
    {"insio/path.h", "InsPath Combine(const InsPath& base, const InsPath& path);", 3,
     TakingTwo([](const std::string& base, const std::string& path) {
       return KVLInsIO::Combine(InsPath(base), InsPath(path)).Str();
     })},
    {"insio/path.h", "InsPath MakeRelative(const InsPath& from, const InsPath& to);", 14,
     TakingTwo([](const std::string& from, const std::string& to) {
       return KVLInsIO::MakeRelative(InsPath(from), InsPath(to)).Str();
     })},
};

TEST(HeaderExamples, OfEveryPathOperationAreTrue) {
  for (const Operation& operation : kOperations) {
    SCOPED_TRACE(operation.declaration);
    if (!std::filesystem::exists(SourceFile(operation.header))) {
      GTEST_SKIP() << "the sources are not there";
    }
    const auto examples =
        ExamplesAbove(operation.declaration, ReadFile(SourceFile(operation.header)));
    EXPECT_EQ(examples.size(), operation.examples);
    for (const Example& example : examples) {
      EXPECT_EQ(operation.result(example.given), example.expected) << "given: " << example.given;
    }
  }
}

}  // namespace
}  // namespace kvl::test
