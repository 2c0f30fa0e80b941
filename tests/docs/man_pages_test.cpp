// The manual pages name what there is, and nothing else: their tables are held against the constants
// and texts in the sources, so that neither changes alone, and mandoc has nothing to say about them.
//
// What the product shows is put together from string literals and values. A page gives a message as
// the head of an item in a list of the kind "-diag", with the values in angle brackets. Literals that
// stand side by side are one; each is cut at its line feeds and at angle brackets of its own into
// fragments. The rule: the text between the values of a message on the page consists of fragments,
// put together; and each fragment with a letter in it is used by some message, or is among those that
// the test lists as no message. What this cannot notice is a message that consists of fragments of
// other messages alone.

#include "companion/check/finding_catalogue.h"
#include "companion/names/layout_name.h"
#include "console/child_process.h"
#include "tests/support/outcome.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using Names = std::set<std::string>;
using Lines = std::vector<std::string>;

// --- sources -------------------------------------------------------------------------------------

/// A file of the sources without what the preprocessor takes.
std::string Source(const std::string& file) {
  static const std::regex directive("(^|\n)#[^\n]*");
  return std::regex_replace(ReadFile(SourceFile(file)), directive, "$1");
}

/// Finds the string literals of a source, their escapes resolved.
class LiteralReader {
 public:
  explicit LiteralReader(const std::string& source) : text_(source) {}

  Lines Read() {
    while (at_ < text_.size()) {
      if (text_.compare(at_, 2, "//") == 0) {
        at_ = std::min(text_.find('\n', at_), text_.size());
      } else if (text_[at_] == '"') {
        TakeLiteral();
      } else {
        TakeOther();
      }
    }
    return literals_;
  }

 private:
  void TakeLiteral() {
    EXPECT_FALSE(at_ > 0 && text_[at_ - 1] == 'R') << "raw literals are not understood";
    std::string literal;
    for (++at_; at_ < text_.size() && text_[at_] != '"';) literal.push_back(TakeCharacter());
    ++at_;
    if (is_beside_literal_) {
      literals_.back() += literal;
    } else {
      literals_.push_back(literal);
    }
    is_beside_literal_ = true;
  }

  char TakeCharacter() {
    if (text_[at_] != '\\') return text_[at_++];
    ++at_;
    const bool is_hex = text_[at_] == 'x';
    std::size_t length = 0;
    const std::string digits = text_.substr(at_ + (is_hex ? 1 : 0), is_hex ? 2 : 3);
    if (is_hex || (digits[0] >= '0' && digits[0] <= '7')) {
      const int code = std::stoi(digits, &length, is_hex ? 16 : 8);
      at_ += length + (is_hex ? 1 : 0);
      return static_cast<char>(code);
    }
    const char letter = text_[at_++];
    static const std::map<char, char> controls = {{'n', '\n'}, {'r', '\r'}, {'t', '\t'}};
    const auto control = controls.find(letter);
    return control == controls.end() ? letter : control->second;
  }

  /// A character literal or anything else; a quote between digits is none.
  void TakeOther() {
    const char letter = text_[at_];
    const bool is_behind_word = at_ > 0 && std::isalnum(Byte(text_[at_ - 1])) != 0;
    if (std::isspace(Byte(letter)) == 0) is_beside_literal_ = false;
    ++at_;
    if (letter != '\'' || is_behind_word) return;
    while (text_[at_] != '\'') TakeCharacter();
    ++at_;
  }

  static unsigned char Byte(char letter) { return static_cast<unsigned char>(letter); }

  const std::string text_;
  std::size_t at_ = 0;
  Lines literals_;
  bool is_beside_literal_ = false;
};

Lines LiteralsIn(const std::string& file) {
  return LiteralReader(Source(file)).Read();
}

/// The sources and headers of some folders.
Lines FilesIn(const Lines& folders) {
  Lines files;
  for (const std::string& folder : folders) {
    for (const auto& entry : fs::recursive_directory_iterator(SourceFile(folder))) {
      const std::string extension = entry.path().extension();
      if (extension != ".h" && extension != ".cpp") continue;
      files.push_back(entry.path().lexically_relative(SourceFile(".")).lexically_normal().string());
    }
  }
  std::sort(files.begin(), files.end());
  return files;
}

/// What a pattern finds, each time its first group.
Names FoundIn(const std::string& text, const std::string& pattern) {
  const std::regex regex(pattern);
  Names found;
  for (auto match = std::sregex_iterator(text.begin(), text.end(), regex);
       match != std::sregex_iterator(); ++match) {
    found.insert((*match)[1]);
  }
  return found;
}

// --- pages ---------------------------------------------------------------------------------------

const Lines kPages = {
    "docs/man/kvl-launcher.1",
    "docs/man/kvl-media.1",
    "docs/man/KVLInsIO.3",
};

void Replace(std::string& text, const std::string& what, const std::string& with) {
  for (std::size_t at = 0; (at = text.find(what, at)) != std::string::npos; at += with.size()) {
    text.replace(at, what.size(), with);
  }
}

struct PageLine {
  std::string section, subsection, list;  ///< `list` is the kind of the innermost one
  std::string text;                       ///< without escapes
};

/// A page, line by line.
std::vector<PageLine> ReadPage(const std::string& page) {
  std::vector<PageLine> lines;
  std::istringstream stream(ReadFile(SourceFile(page)));
  PageLine here;
  Lines lists;
  for (std::string line; std::getline(stream, line);) {
    if (line.starts_with(".\\\"")) continue;
    if (line.starts_with(".Sh ")) here.section = line.substr(4), here.subsection.clear();
    if (line.starts_with(".Ss ")) here.subsection = line.substr(4);
    if (line.starts_with(".Bl ")) lists.push_back(line.substr(4, line.find(' ', 4) - 4));
    if (line == ".El") lists.pop_back();
    here.list = lists.empty() ? "" : lists.back();
    Replace(line, "\\(dq", "\"");
    Replace(line, "\\-", "-");
    Replace(line, "\\&", "");
    Replace(line, "\\e", "\\");
    here.text = line;
    lines.push_back(here);
  }
  return lines;
}

std::string TextOf(const std::string& page) {
  std::string text;
  for (const PageLine& line : ReadPage(page)) text += line.text + "\n";
  return text;
}

/// What the heads of items have in a place, by a pattern whose first group counts.
Names Items(const std::string& page, const std::string& section, const std::string& subsection,
            const std::string& pattern) {
  const std::regex item(pattern);
  Names names;
  for (const PageLine& line : ReadPage(page)) {
    std::smatch match;
    if (line.section == section && line.subsection == subsection &&
        std::regex_match(line.text, match, item)) {
      names.insert(match[1]);
    }
  }
  return names;
}

/// The words behind a macro in a section, punctuation left out.
Names WordsOf(const std::string& page, const std::string& section, const std::string& macro) {
  Names words;
  for (const PageLine& line : ReadPage(page)) {
    if (line.section != section || !line.text.starts_with("." + macro + " ")) continue;
    std::istringstream stream(line.text.substr(macro.size() + 2));
    for (std::string word; stream >> word;) {
      if (word.size() > 1) words.insert(word);
    }
  }
  return words;
}

/// The messages of a section: of the one subsection, or of all but that one.
enum class Which { kOnly, kAllBut };
Lines Messages(const std::string& page, const std::string& section,
               const std::string& subsection = "-", Which which = Which::kAllBut) {
  Lines messages;
  for (const PageLine& line : ReadPage(page)) {
    const bool is_in_it = line.subsection == subsection;
    if (line.section == section && line.list == "-diag" && line.text.starts_with(".It ") &&
        is_in_it == (which == Which::kOnly)) {
      messages.push_back(line.text.substr(4));
    }
  }
  return messages;
}

// --- messages ------------------------------------------------------------------------------------

bool HasLetter(const std::string& text) {
  return std::any_of(text.begin(), text.end(), [](char letter) {
    return (letter >= 'a' && letter <= 'z') || (letter >= 'A' && letter <= 'Z');
  });
}

/// The parts of a text between line feeds and what is in angle brackets.
Names Fragments(const std::string& text) {
  static const std::regex separator("\n|<[^<>]*>");
  Names fragments;
  for (auto part = std::sregex_token_iterator(text.begin(), text.end(), separator, -1);
       part != std::sregex_token_iterator(); ++part) {
    if (part->length() > 0) fragments.insert(*part);
  }
  return fragments;
}

Names FragmentsOf(const Lines& literals) {
  Names all;
  for (const std::string& literal : literals) all.merge(Fragments(literal));
  return all;
}

/// Splits a text into fragments in every way there is. Blanks may stand between them, as in columns.
class Composition {
 public:
  Composition(std::string text, const Names& fragments)
      : text_(std::move(text)), fragments_(fragments) {
    reaches_end_.assign(text_.size() + 1, false);
    reaches_end_.back() = true;
    for (std::size_t at = text_.size(); at-- > 0;) {
      ForEachStep(at, [&](std::size_t next, const std::string&) {
        if (reaches_end_[next]) reaches_end_[at] = true;
      });
    }
  }

  bool Exists() const { return reaches_end_.front(); }

  /// The fragments in all these ways.
  Names Used() const {
    Names used;
    std::vector<bool> is_reached(text_.size() + 1, false);
    is_reached.front() = true;
    for (std::size_t at = 0; at < text_.size(); ++at) {
      if (!is_reached[at]) continue;
      ForEachStep(at, [&](std::size_t next, const std::string& fragment) {
        if (!reaches_end_[next]) return;
        is_reached[next] = true;
        used.insert(fragment);
      });
    }
    return used;
  }

 private:
  template <typename Visit>
  void ForEachStep(std::size_t at, Visit visit) const {
    if (text_[at] == ' ') visit(at + 1, " ");
    for (const std::string& fragment : fragments_) {
      if (text_.compare(at, fragment.size(), fragment) == 0) visit(at + fragment.size(), fragment);
    }
  }

  std::string text_;
  const Names& fragments_;
  std::vector<bool> reaches_end_;
};

/// Compares the messages of a page with the fragments of the code in both directions. The
/// fragments in `no_message` are parts of no message.
void Compare(const Lines& messages, Names fragments, const Names& no_message) {
  Lines no_longer_there;
  for (const std::string& fragment : no_message) {
    if (fragments.erase(fragment) == 0) no_longer_there.push_back(fragment);
  }
  EXPECT_THAT(no_longer_there, IsEmpty()) << "listed in the test and not in the code";

  Names used;
  Lines only_on_page, only_in_code;
  EXPECT_GT(messages.size(), 5U);
  for (const std::string& message : messages) {
    for (const std::string& text : Fragments(message)) {
      const Composition composition(text, fragments);
      if (!composition.Exists()) only_on_page.push_back(text);
      used.merge(composition.Used());
    }
  }
  for (const std::string& fragment : fragments) {
    if (HasLetter(fragment) && !used.contains(fragment)) only_in_code.push_back(fragment);
  }
  EXPECT_THAT(only_on_page, IsEmpty()) << "on the page and not in the code";
  EXPECT_THAT(only_in_code, IsEmpty()) << "in the code and not on the page";
}

/// Those of the names that a page does not hold anywhere.
Lines NotNamed(const std::string& page, const Names& names) {
  const std::string text = TextOf(page);
  Lines missing;
  for (const std::string& name : names) {
    if (text.find(name) == std::string::npos) missing.push_back(name);
  }
  return missing;
}

class ManPages : public testing::Test {
 protected:
  void SetUp() override {
    for (const char* folder :
         {"docs/man", "insio", "environment", "console", "media", "launcher", "companion"}) {
      if (!fs::exists(SourceFile(folder))) GTEST_SKIP() << "the sources are not there";
    }
  }
};

TEST_F(ManPages, AreCleanForMandoc) {
  const std::string mandoc = "/usr/bin/mandoc";
  if (::access(mandoc.c_str(), X_OK) != 0) GTEST_SKIP() << "mandoc is missing";
  for (const std::string& page : kPages) {
    const Outcome seen = RunProgram({{mandoc, "-T", "lint", "-W", "all", SourceFile(page)}});
    EXPECT_EQ(seen.out, "");
    EXPECT_EQ(seen.err, "");
    EXPECT_EQ(seen.status, 0) << page;
  }
}

// --- kvl-launcher(1) -----------------------------------------------------------------------------

const std::string& kLauncherPage = kPages[0];

/// All literals of the launcher but the names of variables and the library.
Lines LauncherLiterals() {
  Lines literals;
  for (const std::string& file : FilesIn({"launcher", "media", "console", "environment"})) {
    if (file == "environment/variables.h") continue;
    for (const std::string& literal : LiteralsIn(file)) literals.push_back(literal);
  }
  return literals;
}

/// The options of the launcher: what its command line compares with.
Names LauncherOptions() {
  return FoundIn(Source("launcher/command_line.cpp"), "argument == \"(-[^\"]*)\"");
}

TEST_F(ManPages, NameEveryOptionOfTheLauncher) {
  const Names options = LauncherOptions();
  EXPECT_GE(options.size(), 12U);
  Names on_page;
  for (const std::string& name : Items(kLauncherPage, "OPTIONS", "", "\\.It Fl (\\S+).*")) {
    on_page.insert("-" + name);
  }
  EXPECT_EQ(on_page, options);
}

TEST_F(ManPages, NameEveryVariableOfTheLauncher) {
  const std::map<std::string, std::string> subsections = {
      {"Read", "Variables that are read"},
      {"Written by the media scan", "Variables set by the search for volumes"},
      {"Written by the run sequence", "Variables set by the run"},
      {"Written by the environment setup", "Variables set for the installer"},
      {"Written by the process start", "Variables set when the installer is started"},
  };
  std::map<std::string, Names> in_code;
  std::istringstream lines(Source("environment/variables.h"));
  std::string group;
  for (std::string line; std::getline(lines, line);) {
    static const std::regex heading("// (Read|Written by .*)\\.");
    static const std::regex name("inline constexpr char k\\w+\\[\\] = \"(\\w+)\";");
    std::smatch match;
    if (std::regex_match(line, match, heading)) group = match[1];
    if (std::regex_match(line, match, name)) in_code[group].insert(match[1]);
  }
  EXPECT_EQ(in_code.size(), subsections.size());
  std::size_t understood = 0;
  for (const auto& [title, names] : in_code) {
    understood += names.size();
    ASSERT_TRUE(subsections.contains(title)) << title;
    EXPECT_EQ(Items(kLauncherPage, "ENVIRONMENT", subsections.at(title), "\\.It Ev (\\S+).*"),
              names);
  }
  EXPECT_EQ(understood, LiteralsIn("environment/variables.h").size());
}

// All names stand in the one header: nobody reads or sets a variable by a literal.
TEST_F(ManPages, MissNoVariableThatIsNamedElsewhere) {
  for (const std::string& file :
       FilesIn({"launcher", "media", "console", "environment", "insio", "companion"})) {
    EXPECT_THAT(FoundIn(Source(file), "((?:[gG]et|[sS]et|Backup)(?:Env|env)\\(\\s*\"[^\"]*)"),
                IsEmpty())
        << file;
  }
}

/// The value of a constant in a source.
int Constant(const std::string& file, const std::string& name) {
  const Names values = FoundIn(Source(file), "\\b" + name + " = (-?[0-9]+);");
  EXPECT_EQ(values.size(), 1U) << name;
  return values.empty() ? 0 : std::stoi(*values.begin());
}

TEST_F(ManPages, NameEveryExitStatusOfTheLauncher) {
  const std::string highest =
      std::to_string(Constant("console/child_process.cpp", "kHighestExitCode"));
  Names statuses = FoundIn(Source("launcher/exit_status.h"), "\\bk\\w+\\s*=\\s*([0-9]+),");
  EXPECT_GE(statuses.size(), 2U);
  statuses.insert("0 to " + highest);
  statuses.insert(std::to_string(kNoExitCode & 0xFF));
  statuses.insert(std::to_string(128 + SIGABRT));  // as a shell shows it
  EXPECT_EQ(Items(kLauncherPage, "EXIT STATUS", "", "\\.It (.*)"), statuses);
  EXPECT_THAT(NotNamed(kLauncherPage, {"above " + highest}), IsEmpty());
}

TEST_F(ManPages, NameEveryMessageOfTheLauncher) {
  // Names and values that the page has in other places than among the messages.
  const Names named_elsewhere = {
      "/tmp",
      "=true",
      "Check",
      "Check1",
      "Commit",
      "ERROR: ",
      " INFO: ",
      " WARN: ",
      "KVLInsAppliODT.exe",
      "KVL_BAK=",
      "List",
      "MTBDIR=",
      "NO",
      "Radio_KVLSoftwareMgtCheck?",
      "Rollback",
      "StartGUI.sh",
      "StartTUI.sh",
      "code/bin",
      "code/dictionary",
      "common",
      "f",
      "inst",
      "media.db",
      "media.xml",
      "meta.TOCxml",
      "reffiles",
      "remove.bat",
      "resources/graphic",
      "resources/graphic/icons",
      "resources/graphic/splashscreens",
      "resources/msgcatalog",
      "volumes.txt",
      "!r",
      ".txt",
  };
  // The arguments of the installer stand there as "Fl CDpath".
  Names no_message = {
      "-CDpath",
      "kvl-launcher",
      "payload",
      ".cksum",
      "StartTUI.sh.unfinished",
      "--var",
      "code",
      "bin",
      "/proc/self/fd/",
      "0123456789ABCDEF",
      "0123456789abcdef",
      // The text of the clean-up script.
      ":begin",
      "rmdir /Q /S \"",
      "inst\" 1>nul 2>nul",
      "if exist \"",
      "inst\" goto begin",
      "\" 1>nul 2>nul",
  };
  no_message.insert(named_elsewhere.begin(), named_elsewhere.end());
  no_message.merge(LauncherOptions());
  Compare(Messages(kLauncherPage, "DIAGNOSTICS", "Why staging failed"),
          FragmentsOf(LauncherLiterals()), no_message);
  EXPECT_THAT(NotNamed(kLauncherPage, named_elsewhere), IsEmpty());
}

// --- KVLInsIO(3) ---------------------------------------------------------------------------------

const std::string& kLibraryPage = kPages[2];

Names LibraryFragments() {
  Lines literals;
  for (const std::string& file : FilesIn({"insio"})) {
    for (const std::string& literal : LiteralsIn(file)) literals.push_back(literal);
  }
  return FragmentsOf(literals);
}

TEST_F(ManPages, NameEveryMessageOfTheLibrary) {
  const Names named_elsewhere = {
      "_TmpRIL",
  };
  Names no_message = {
      "entry",
  };
  no_message.insert(named_elsewhere.begin(), named_elsewhere.end());
  Compare(Messages(kLibraryPage, "ERRORS"), LibraryFragments(), no_message);
  EXPECT_THAT(NotNamed(kLibraryPage, named_elsewhere), IsEmpty());
}

TEST_F(ManPages, NameEveryMessageOfTheLibraryThatALaunchCanShow) {
  const Names in_no_launch = {
      // No path of a launch is empty.
      "Copy - empty source path",
      "Copy - empty destination path",
      "CreateDir - empty path",
      "GetType - empty path",
      "FindFirstFile - Path is empty",
      "entry",
      // Operations that a launch does without.
      "Delete - empty path",
      "unlink - ",
      "rmdir - ",
      "Rename - empty source path",
      "Rename - empty destination path",
      "rename - ",
      " to ",
      "OpenDirectory - no name of an entry: ",
      "Chmod - ",
      "GetTime - ",
      "GetFileSize - ",
      "GetFileSize - Cannot stat ",
      " does not exist.",
      " is not a file.",
      "KVLInsIO::ReplaceInLines: ",
      "Filename is empty",
      "Failed to open ",
      "Failed to read ",
      "Failed to write ",
      "Replaced: ",
      "Replacing: ",
      "_TmpRIL",
  };
  Compare(Messages(kLauncherPage, "DIAGNOSTICS", "Why staging failed", Which::kOnly),
          LibraryFragments(), in_no_launch);
}

/// The headers that the library's build file installs.
Names InstalledHeaders() {
  const Names lists = FoundIn(ReadFile(SourceFile("insio/CMakeLists.txt")),
                              "set\\(public_headers((?:\\s+\\w+\\.h)+)\\)");
  return lists.empty() ? Names() : FoundIn(*lists.begin(), "(\\w+\\.h)");
}

/// A header as a user reads it: without comments, internal names, private parts and bodies.
std::string PublicPartOf(const std::string& header) {
  std::string text = std::regex_replace(Source(header), std::regex("//[^\n]*"), "");
  for (std::size_t at; (at = text.find("private:")) != std::string::npos;) {
    text.erase(at, text.find("\n};", at) - at);
  }
  return std::regex_replace(
      text, std::regex("namespace internal \\{[^{}]*\\}|\\{[^{}\n]*\\}|\\{\n *return [^{}]*\\}"),
      "");
}

std::string LastName(const std::string& name) {
  const std::size_t colons = name.rfind("::");
  return colons == std::string::npos ? name : name.substr(colons + 2);
}

TEST_F(ManPages, NameEveryFunctionAndConstantOfTheLibrary) {
  Names headers = InstalledHeaders();
  EXPECT_GT(headers.size(), 10U);
  Names functions, constants;
  for (const std::string& header : headers) {
    const std::string text = PublicPartOf("insio/" + header);
    functions.merge(FoundIn(text, "(operator[^\\s(]+|[A-Za-z_]\\w*)\\("));
    constants.merge(FoundIn(text, "\\b(k[A-Z]\\w*) ="));
  }
  functions.erase("operator=");  // assignment and destruction go without saying
  functions.erase("void");       // in the type of a function
  functions.erase("operator");   // the call of std::hash, whose parentheses mandoc refuses
  EXPECT_GT(functions.size(), 50U);
  EXPECT_GT(constants.size(), 10U);
  headers.insert("KVLInsIO.h");  // made from the others
  constants.merge(FoundIn(ReadFile(SourceFile("insio/KVLInsIO.h.in")), "#define (\\w+)"));

  Names functions_on_page, constants_on_page, headers_on_page;
  for (const PageLine& line : ReadPage(kLibraryPage)) {
    if (line.section != "SYNOPSIS") continue;
    for (const std::string& name : FoundIn(line.text, "^\\.F[no] (\\S+)")) {
      functions_on_page.insert(LastName(name));
    }
    constants_on_page.merge(FoundIn(line.text, "^\\.Dv (\\w+)"));
    headers_on_page.merge(FoundIn(line.text, "^\\.In KVLInsIO/(\\S+)"));
  }
  EXPECT_EQ(functions_on_page, functions);
  EXPECT_EQ(constants_on_page, constants);
  EXPECT_EQ(headers_on_page, headers);
}

// --- kvl-media(1) --------------------------------------------------------------------------------

const std::string& kMediaPage = kPages[1];

/// What kvl-media says about itself, or about a subcommand.
std::string Help(const Lines& subcommand) {
  Lines command = {BuiltProgram("kvl-media")};
  command.insert(command.end(), subcommand.begin(), subcommand.end());
  command.emplace_back("--help");
  return RunProgram({command}).out;
}

class MediaManPage : public ManPages {
 protected:
  void SetUp() override {
    ManPages::SetUp();
    if (!fs::exists(BuiltProgram("kvl-media"))) GTEST_SKIP() << "kvl-media was not built";
  }
};

/// The short forms, too.
Names MediaOptions(const Lines& subcommand) {
  const std::string help = Help(subcommand);
  Names options = FoundIn(help, "\n +(?:-[a-z],)?(--[a-z-]+)");
  options.merge(FoundIn(help, "\n +(-[a-z]),--"));
  return options;
}

Names MediaOptionsOnPage(const std::string& subsection) {
  Names options;
  for (const std::string& name : Items(kMediaPage, "OPTIONS", subsection, "\\.It Fl (\\S+).*")) {
    options.insert("-" + name);
  }
  for (const std::string& name :
       Items(kMediaPage, "OPTIONS", subsection, "\\.It Fl \\S+ , ([a-z])")) {
    options.insert("-" + name);
  }
  return options;
}

TEST_F(MediaManPage, NamesEveryOption) {
  EXPECT_EQ(MediaOptionsOnPage(""), MediaOptions({}));
  EXPECT_EQ(MediaOptionsOnPage("Options of check"), MediaOptions({"check"}));
  EXPECT_EQ(MediaOptionsOnPage("Options of make"), MediaOptions({"make"}));
  EXPECT_GE(MediaOptions({"make"}).size(), 8U);
}

TEST_F(MediaManPage, NamesEveryExitStatus) {
  const Names enumerations =
      FoundIn(Source("companion/program.cpp"), "enum Status : int \\{([^}]*)\\}");
  ASSERT_EQ(enumerations.size(), 1U);
  EXPECT_EQ(Items(kMediaPage, "EXIT STATUS", "", "\\.It (.*)"),
            FoundIn(*enumerations.begin(), "= ([0-9]+)"));
}

TEST_F(MediaManPage, NamesEveryKeyOfTheJsonReport) {
  Names keys = FragmentsOf(LiteralsIn("companion/report/json_report.cpp"));
  EXPECT_GT(keys.size(), 25U);
  EXPECT_EQ(Items(kMediaPage, "JSON", "", "\\.It Va (\\w+)"), keys);
}

/// The words that a program finds in the JSON report: those of both reports, and states of volumes.
Names ReportWords() {
  Names words = FragmentsOf(LiteralsIn("companion/report/report_words.h"));
  words.insert(kLayoutNames.begin(), kLayoutNames.end());
  words.merge(FoundIn(Source("companion/check/volume_check.cpp"),
                      "constexpr std::string_view k\\w+ = \"([a-z-]+)\";"));
  return words;
}

Names FindingCodes() {
  Names codes;
  for (const FindingRow& row : FindingCatalogue()) codes.emplace(row.code);
  return codes;
}

TEST_F(MediaManPage, NamesEveryWordOfTheJsonReport) {
  EXPECT_EQ(WordsOf(kMediaPage, "JSON", "Cm"), ReportWords());
}

TEST_F(MediaManPage, NamesTheCodeOfEveryFinding) {
  EXPECT_GT(FindingCodes().size(), 30U);
  EXPECT_EQ(WordsOf(kMediaPage, "FINDINGS", "Cm"), FindingCodes());
}

/// All fragments of the companion that are neither words for programs nor texts of the help.
Names MediaFragments() {
  std::string help = Help({}) + Help({"check"}) + Help({"make"});
  help = std::regex_replace(help, std::regex("\\s+"), " ");
  Names fragments;
  std::vector<std::string> files = FilesIn({"companion"});
  files.push_back("environment/media_names.h");
  for (const std::string& file : files) {
    // A script, and the keys that have a test of their own.
    if (file == "companion/make/start_script_text.cpp" ||
        file == "companion/report/json_report.cpp")
      continue;
    for (const std::string& literal : LiteralsIn(file)) {
      const std::string text = std::regex_replace(literal, std::regex("\\s+"), " ");
      const bool is_sentence = text.find(' ') != std::string::npos && text.front() != ' ' &&
                               text.back() != ' ' && text.size() > 3;
      if (is_sentence && file == "companion/program.cpp" && help.find(text) != std::string::npos) {
        continue;
      }
      fragments.merge(Fragments(literal));
    }
  }
  return fragments;
}

TEST_F(MediaManPage, NamesEveryMessage) {
  const Names named_elsewhere = {
      "MTBDIR=",  ".cksum",    ".txt",         "check",       "make",
      "inst",     "linux",     "kvl-launcher", "kvl-media",   "volumes.txt",
      "media.db", "media.xml", "meta.TOCxml",  "StartGUI.sh", "StartTUI.sh.unfinished",
  };
  Names no_message = {
      "payload",
      "DIR",
      "PAYLOAD",
      "SIZE",
      "kvl-media ",
      "kvl-media: %s",
      "/proc/self/exe",
      "StartTUI.sh",
      "bin",
      "code",
      "common",
      "remove.bat",
      "export ",
      "\\x",
      "0123456789ABCDEF",
      "ABCDEFGHIJKLMNOPQRSTUVWXYZabcdefghijklmnopqrstuvwxyz0123456789._+-",
      // What moves the cursor.
      "\r\033[K",
      "\r%s\033[K",
      // What is written into the files of a media.
      "-UI \"$@\"",
      "-AM",
      "Volume marker",
      "  <volume number=\"",
      "\" marker=\"",
      "\" payload=\"",
      "<media tag=\"",
      "\" system=\"",
      "\" volumes=\"",
      "&amp;",
      "&gt;",
      "&lt;",
      "&quot;",
  };
  no_message.insert(named_elsewhere.begin(), named_elsewhere.end());
  no_message.merge(FindingCodes());
  for (const Lines& subcommand : {Lines(), Lines{"check"}, Lines{"make"}}) {
    no_message.merge(MediaOptions(subcommand));
  }
  // These two are one literal.
  no_message.erase("-h");
  no_message.erase("--help");
  no_message.insert("-h,--help");
  for (const std::string& word : ReportWords()) {
    if (word != "error" && word != "warning" && word != "none") no_message.insert(word);
  }
  Lines messages = Messages(kMediaPage, "THE REPORT");
  for (const char* section : {"FINDINGS", "DIAGNOSTICS"}) {
    for (const std::string& message : Messages(kMediaPage, section)) messages.push_back(message);
  }
  Compare(messages, MediaFragments(), no_message);
  EXPECT_THAT(NotNamed(kMediaPage, named_elsewhere), IsEmpty());
}

}  // namespace
}  // namespace kvl::test
