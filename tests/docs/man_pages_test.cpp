// The manual pages name what there is, and nothing else. Their tables are those that print_tables
// prints from the code. That they have every message is claimed wherever a test makes a program say
// one, see tests/support/manual.h; here, that the code has every message of theirs.

#include "tests/support/manual.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using Texts = std::set<std::string>;

/// What a pattern finds, each time its first group.
Texts TextsIn(const std::string& text, const std::string& pattern) {
  Texts texts;
  for (const Groups& found : MatchesIn(text, pattern)) texts.insert(found[1]);
  return texts;
}

class ManPages : public testing::Test {
 protected:
  void SetUp() override {
    if (ReadPage("kvl-launcher.1").empty()) GTEST_SKIP() << "the sources are not there";
    if (!fs::exists(BuiltProgram("print_tables"))) GTEST_SKIP() << "kvl-media was not built";
  }
};

TEST_F(ManPages, AreCleanForMandoc) {
  const std::string mandoc = "/usr/bin/mandoc";
  if (::access(mandoc.c_str(), X_OK) != 0) GTEST_SKIP() << "mandoc is missing";
  for (const std::string page : {"kvl-launcher.1", "kvl-media.1", "KVLInsIO.3"}) {
    const Outcome seen =
        RunProgram({{mandoc, "-T", "lint", "-W", "all", SourceFile("docs/man/" + page)}});
    EXPECT_EQ(seen.out + seen.err, "");
    EXPECT_EQ(seen.status, 0) << page;
  }
}

/// The rows of all tables of a page, as print_tables prints them.
Texts TablesOn(const std::string& page) {
  Texts rows;
  for (const PageLine& line : ReadPage(page)) {
    const std::string below = line.subsection.empty() ? "" : ", " + line.subsection;
    const auto add = [&](const std::string& place, const std::string& pattern,
                         const std::string& in_front = "") {
      if (!place.starts_with(line.section)) return;
      for (const std::string& row : TextsIn(line.text, pattern)) {
        rows.insert(page + " " + place + ": " + in_front + row);
      }
    };
    add("OPTIONS" + below, "^\\.It Fl (\\S+)", "-");
    add("OPTIONS" + below, "^\\.It Fl \\S+ , (\\w)", "-");
    add("ENVIRONMENT" + below, "^\\.It Ev (\\S+)");
    add("EXIT STATUS", "^\\.It (.*)");
    add("FINDINGS", "^\\.It (.*)");
    add("JSON, keys", "^\\.It Va (\\w+)");
    if (line.text.starts_with(".Cm ")) add("JSON, words", " ([a-z-]+)");
    if (line.text.starts_with(".Cm ")) add("FINDINGS", " ([a-z-]+)");
  }
  return rows;
}

/// The options of kvl-media in the help text of a subcommand, as rows.
Texts MediaOptions(const std::string& subcommand) {
  const std::string place = subcommand == "--help" ? "" : ", Options of " + subcommand;
  const std::string help = RunProgram({{BuiltProgram("kvl-media"), subcommand, "--help"}}).out;
  Texts options = TextsIn(help, "\n +(?:-[a-z],)?(--[a-z-]+)"), rows;
  options.merge(TextsIn(help, "\n +(-[a-z]),--"));
  for (const std::string& row : options) rows.insert("kvl-media.1 OPTIONS" + place + ": " + row);
  return rows;
}

TEST_F(ManPages, HaveTheTablesOfTheCode) {
  Texts in_code = TextsIn(RunProgram({{BuiltProgram("print_tables")}}).out, "([^\n]+)");
  for (const char* subcommand : {"--help", "check", "make", "seal", "verify", "clean"})
    in_code.merge(MediaOptions(subcommand));
  Texts on_pages = TablesOn("kvl-launcher.1");
  on_pages.merge(TablesOn("kvl-media.1"));
  const auto without = [](const Texts& all, const Texts& others) {
    std::vector<std::string> rest;
    std::set_difference(all.begin(), all.end(), others.begin(), others.end(),
                        std::back_inserter(rest));
    return rest;
  };
  EXPECT_THAT(without(on_pages, in_code), IsEmpty()) << "on the pages only";
  EXPECT_THAT(without(in_code, on_pages), IsEmpty()) << "in the code only";
}

TEST_F(ManPages, HaveNoMessageThatTheCodeHasNot) {
  const std::string code = ReadFile(BuiltProgram("print_tables"));
  for (const auto& [page, section] : {std::pair("kvl-launcher.1", "DIAGNOSTICS"),
                                      {"kvl-media.1", "THE REPORT"},
                                      {"kvl-media.1", "DIAGNOSTICS"},
                                      {"KVLInsIO.3", "ERRORS"}}) {
    for (const std::string& message : MessagesOf(page, section)) {
      // The code puts some together: behind the first word, a colon, a semicolon and a parenthesis.
      const std::string text = Replaced(message, "^(\\w+) |; |: | \\(", "$1<>");
      for (const std::string& part : SplitAt(text, " */?<[^<>]*>/? *")) {
        EXPECT_TRUE(code.find(part) != code.npos) << page << ": " << message << ": " << part;
      }
    }
  }
}

TEST_F(ManPages, HaveTheMessagesOfTheAdministratorsPage) {
  const std::string page = "kvl-launcher.1";
  const Texts texts = TextsIn(ReadFile(SourceFile("docs/administrators.md")), "`([^`\n]+)`");
  const auto staging = MessagesOf(page, "DIAGNOSTICS", "Why staging failed");
  for (const auto& [subsection, level] :
       {std::pair("Errors", "ERROR: "), {"Warnings", "WARN: "}, {"Information", "INFO: "}}) {
    std::vector<std::string> messages = MessagesOf(page, "DIAGNOSTICS", subsection);
    for (const std::string& message : messages) {
      EXPECT_TRUE(std::any_of(texts.begin(), texts.end(),
                              [&, marked = level + message](const std::string& text) {
                                return IsOneOf(text, {message, marked});
                              }))
          << "not on the administrator's page: " << message;
    }
    messages.insert(messages.end(), staging.begin(), staging.end());
    for (const std::string& text : texts) {
      const bool is_message = text.starts_with(level);
      EXPECT_TRUE(!is_message || IsOneOf(text.substr(std::strlen(level)), messages)) << text;
    }
  }
}

/// A header as a user reads it: without comments, internal names, private parts and bodies.
std::string PublicPartOf(const std::string& header) {
  std::string text = ReadFile(SourceFile("insio/" + header));
  for (const char* left_out :
       {"//[^\n]*|#[^\n]*", "private:[^]*?\n\\};", "namespace internal \\{[^{}]*\\}",
        "\\{[^{}\n]*\\}|\\{\n *return [^{}]*\\}"}) {
    text = Replaced(text, left_out, "");
  }
  return text;
}

TEST_F(ManPages, OfTheLibraryHaveItsHeadersFunctionsAndConstants) {
  const std::string build_file = ReadFile(SourceFile("insio/CMakeLists.txt"));
  const Texts list = TextsIn(build_file, "public_headers((?:\\s+\\w+\\.h)+)");
  Texts in_code = TextsIn(ReadFile(SourceFile("insio/KVLInsIO.h.in")), "#define (\\w+)");
  in_code.insert("KVLInsIO.h");  // made from the others
  for (const std::string& header : TextsIn(*list.begin(), "(\\w+\\.h)")) {
    const std::string text = PublicPartOf(header);
    in_code.insert(header);
    in_code.merge(TextsIn(text, "(operator[^\\s(]+|[A-Za-z_]\\w*)\\("));
    in_code.merge(TextsIn(text, "\\b(k[A-Z]\\w*) ="));
  }
  // Assignment goes without saying; the others stand in the type of a function and in std::hash.
  for (const char* name : {"operator=", "void", "operator"}) in_code.erase(name);

  Texts on_page;
  for (const PageLine& line : ReadPage("KVLInsIO.3")) {
    if (line.section != "SYNOPSIS") continue;
    on_page.merge(TextsIn(line.text, "^\\.(?:F[no] (?:\\S*::)?|Dv |In KVLInsIO/)(\\S+)"));
  }
  EXPECT_EQ(on_page, in_code);
}

}  // namespace
}  // namespace kvl::test
