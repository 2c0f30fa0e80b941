// The installed library, as another program sees it.
//
// Installs it from the build tree that contains this test program, with the tools that built it.
// Without a build tree, as for a copy of the program alone, skips these tests.

#include <cctype>

#include "tests/support/outcome.h"
#include "tests/support/sanitized.h"
#include "tests/support/scoped_env.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

using Lines = std::vector<std::string>;

Lines LinesOf(const std::string& text) {
  Lines lines;
  std::istringstream stream(text);
  for (std::string line; std::getline(stream, line);) lines.push_back(line);
  return lines;
}

Lines WordsOf(const std::string& text) {
  std::istringstream stream(text);
  return {std::istream_iterator<std::string>(stream), {}};
}

/// The library, which the first test that needs it installs into a directory.
class Package : public testing::Test, protected TestDirectory {
 protected:
  void SetUp() override {
    if (!fs::exists(build_ + "/CMakeCache.txt")) {
      GTEST_SKIP() << "this program is not in the directory it was built in";
    }
    if (::access(build_.c_str(), W_OK) != 0) {
      GTEST_SKIP() << "installing leaves its list in the build directory, which is closed to us";
    }
    if (::access(Cached("CMAKE_COMMAND").c_str(), X_OK) != 0) GTEST_SKIP() << "cmake is missing";
    if (!fs::exists(SourceFile("insio"))) GTEST_SKIP() << "the sources are not there";
    [[maybe_unused]] static const std::string installing =
        Require({Cached("CMAKE_COMMAND"), "--install", build_, "--component", "KVLInsIO",
                 "--prefix", Installed()});
  }

  static std::string Installed(const std::string& name = "") {
    static const TestDirectory directory;
    return directory.Path() + (name.empty() ? "" : "/" + name);
  }
  /// The directory for libraries, below the installed directory.
  std::string LibraryDir() const { return Cached("CMAKE_INSTALL_LIBDIR"); }
  std::string Archive() const { return Installed(LibraryDir() + "/libKVLInsIO.a"); }

  /// The configuration of the build tree.
  std::string Cached(const std::string& name) const {
    std::ifstream cache(build_ + "/CMakeCache.txt");
    for (std::string line; std::getline(cache, line);) {
      if (line.starts_with(name + ":")) return line.substr(line.find('=') + 1);
    }
    return {};
  }

  /// The options with which everything that links the library must be compiled.
  std::string CommonFlags() const {
    if (kSanitized) return "-fsanitize=address,undefined";
    return Cached("KVL_COVERAGE") == "ON" ? "-fprofile-instr-generate" : "";
  }

  Outcome Run(const std::vector<std::string>& command) const {
    Environment env = CurrentEnvironment();
    env["PKG_CONFIG_PATH"] = Installed(LibraryDir() + "/pkgconfig");
    return RunProgram({command, env, Path()});
  }

  /// Runs a command that must succeed, and returns its output.
  std::string Require(const std::vector<std::string>& command) const {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 0) << testing::PrintToString(command) << "\n"
                                 << outcome.out << outcome.err;
    return outcome.out;
  }

  /// Compiles one file, with all warnings as errors.
  void Compile(const std::string& source, const std::string& flags) const {
    // env finds the compiler if the cache has only its name.
    Lines command = {"/usr/bin/env", Cached("CMAKE_CXX_COMPILER"), source};
    for (const std::string& flag :
         WordsOf("-Wall -Wextra -Wpedantic -Werror " + flags + " " + CommonFlags())) {
      command.push_back(flag);
    }
    Require(command);
  }

  /// Runs a command that lists a directory in any order, and returns its output.
  Lines ExpectOutcome(const std::vector<std::string>& command, int status, const std::string& err,
                      const Lines& out) const {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, status);
    EXPECT_EQ(outcome.err, err);
    EXPECT_THAT(LinesOf(outcome.out), testing::UnorderedElementsAreArray(out));
    return LinesOf(outcome.out);
  }

  ScopedUmask umask_{022};
  const std::string build_ = fs::path(BuiltProgram("")).parent_path().parent_path();
};

const Lines kPublicHeaders = {
    "copy.h",   "create_dir.h",     "delete.h", "entry.h",     "exceptions.h", "file_attributes.h",
    "finder.h", "open_directory.h", "path.h",   "path_text.h", "rename.h",     "replace_in_lines.h",
};

TEST_F(Package, HoldsThePublicHeadersAndTheLibraryAndNothingElse) {
  std::string configuration = Cached("CMAKE_BUILD_TYPE");
  for (char& c : configuration) c = static_cast<char>(std::tolower(c));
  if (configuration.empty()) configuration = "noconfig";
  const std::string library = LibraryDir() + "/";
  const std::string cmake = library + "cmake/KVLInsIO/KVLInsIOConfig";
  Lines expected = {cmake + ".cmake",
                    cmake + "-" + configuration + ".cmake",
                    cmake + "Version.cmake",
                    library + "libKVLInsIO.a",
                    library + "pkgconfig/KVLInsIO.pc",
                    "share/man/man3/KVLInsIO.3",
                    "include/KVLInsIO/KVLInsIO.h"};
  for (const std::string& name : kPublicHeaders) expected.push_back("include/KVLInsIO/" + name);

  Lines files;
  for (const auto& entry : fs::recursive_directory_iterator(Installed())) {
    if (entry.is_directory()) continue;
    files.push_back(entry.path().lexically_relative(Installed()).string());
  }
  EXPECT_THAT(files, testing::UnorderedElementsAreArray(expected));
}

/// Returns the lines of a file that include another.
Lines IncludesOf(const std::string& path) {
  Lines includes = LinesOf(ReadFile(path));
  std::erase_if(includes, [](const std::string& line) { return !line.starts_with("#include"); });
  return includes;
}

// Compiles each header at the beginning of a source of its own. The next test compiles all of them
// together.
TEST_F(Package, HasHeadersThatCompileEachByItself) {
  for (const std::string& name : kPublicHeaders) {
    const std::string source = SourceFile("insio/" + fs::path(name).stem().string() + ".cpp");
    EXPECT_EQ(IncludesOf(source).at(0), "#include \"insio/" + name + "\"");
    EXPECT_EQ(ReadFile(Installed("include/KVLInsIO/" + name)),
              ReadFile(SourceFile("insio/" + name)));
  }
  Lines expected;
  for (const std::string& name : kPublicHeaders) expected.push_back("#include \"" + name + "\"");
  EXPECT_EQ(IncludesOf(Installed("include/KVLInsIO/KVLInsIO.h")), expected);
}

TEST_F(Package, CanBePartOfASharedObjectAndTellsItItsVersion) {
  const int version = std::stoi(Cached("CMAKE_PROJECT_VERSION_MAJOR")) * 10000 +
                      std::stoi(Cached("CMAKE_PROJECT_VERSION_MINOR")) * 100 +
                      std::stoi(Cached("CMAKE_PROJECT_VERSION_PATCH"));
  const std::string plug_in = Write("plug_in.cpp", R"(
#include <KVLInsIO/KVLInsIO.h>
static_assert(KVLINSIO_VERSION == )" + std::to_string(version) +
                                                       R"();
std::string text;
extern "C" const char* Text();
const char* Text() try {
  KVLInsIO::Copy("missing", "copy");
  return "none";
} catch (const KVLInsIO::KVLInsException& failure) {
  text = failure.what() + KVLInsIO::InsPath("a//b").Str() + KVLInsIO::kPathSeparator;
  return text.c_str();
}
)");
  const std::string program = Write("program.cpp", R"(
extern "C" const char* Text();
extern "C" int puts(const char*);
int main() { return puts(Text()) < 0; }
)");
  Compile(plug_in, "-std=c++2b -shared -fPIC -I" + Installed("include") + " -Wl,--whole-archive " +
                       Archive() + " -Wl,--no-whole-archive -o libplug_in.so");
  Compile(program, "libplug_in.so -Wl,-rpath," + Path() + " -o program");
  EXPECT_EQ(Require({Path("program")}), "lstat - missing - No such file or directory\na/b/\n");
}

// Builds the example project with the installed library.
TEST_F(Package, IsFoundByCMake) {
  const std::string cmake = Cached("CMAKE_COMMAND"), consumer = Path("build/consumer");
  Require({cmake, "-S", SourceFile("examples/consumer"), "-B", "build", "-G",
           Cached("CMAKE_GENERATOR"), "-DCMAKE_MAKE_PROGRAM=" + Cached("CMAKE_MAKE_PROGRAM"),
           "-DCMAKE_CXX_COMPILER=" + Cached("CMAKE_CXX_COMPILER"),
           "-DCMAKE_CXX_FLAGS=" + CommonFlags(), "-DCMAKE_PREFIX_PATH=" + Installed()});
  Require({cmake, "--build", "build"});

  Write("from/one", "the cat sat\non the cat\n");
  Write("from/sub/two", "no dog\n");
  Write("from/sub/a b", "cat");
  const Lines lines = ExpectOutcome({consumer, "from", "to", "cat", "dog"}, 0, "",
                                    {"3 replaced", "to/one: 2", "to/sub/a b: 1", "to/sub/two: 0"});
  EXPECT_EQ(lines.back(), "3 replaced");
  EXPECT_THAT(DescribeTree(Path("to")),
              ElementsAre("d 755 sub", "f 644 one = the dog sat\non the dog", "f 644 sub/a b = dog",
                          "f 644 sub/two = no dog\n"));
  ExpectOutcome({consumer, "missing", "to", "cat", "dog"}, 1,
                "lstat - missing - No such file or directory\n", {});
  ExpectOutcome({consumer, "from"}, 2, "usage: consumer SOURCE DESTINATION OLD NEW\n", {});
}

// Builds the example of the guide with the flags that it names.
TEST_F(Package, IsFoundByPkgConfigWhichLeavesTheLanguageStandardOpen) {
  const auto pkg_config = [&](const std::string& what) {
    return Require({"/usr/bin/env", "pkg-config", what, "KVLInsIO"});
  };
  if (Run({"/usr/bin/env", "pkg-config", "--version"}).status != 0) {
    GTEST_SKIP() << "pkg-config is missing";
  }
  EXPECT_EQ(pkg_config("--modversion"), Cached("CMAKE_PROJECT_VERSION") + "\n");
  EXPECT_THAT(WordsOf(pkg_config("--cflags")),
              ElementsAre(testing::StartsWith("-I" + Installed(LibraryDir()))));
  const std::string guide = ReadFile(SourceFile("docs/KVLInsIO.3.md")), begin = "```cpp\n";
  const std::size_t from = guide.find(begin) + begin.size();
  Compile(Write("example.cpp", guide.substr(from, guide.find("```\n", from) - from)),
          "-std=c++20 -o example " + pkg_config("--cflags") + pkg_config("--libs"));

  Write("work/templates/index", "@HOST@\nis not @HOSTS@, but @HOST@\n");
  Write("work/templates/plain", "nothing\n");
  Write("work/templates/sub/deep", "@HOST@\n");
  Write("work/site/stale", "of the last time\n");
  ExpectOutcome({Path("example"), "work"}, 0, "", {"index: 2", "plain: 0"});
  EXPECT_THAT(DescribeTree(Path("work/site")),
              ElementsAre("d 755 sub", "f 644 index = example\nis not @HOSTS@, but example",
                          "f 644 plain = nothing\n", "f 644 sub/deep = @HOST@\n"));
  ExpectOutcome({Path("example"), "missing"}, 1,
                "lstat - missing/templates - No such file or directory\n", {});
}

struct Symbol {
  std::string type;  ///< the letter of nm
  std::string name;  ///< as the linker sees it, or as it stands in the source
};

/// Returns true for names of KVLInsIO, and for those that the compiler makes from templates of the
/// standard library.
bool BelongsToTheLibrary(const Symbol& symbol) {
  const std::string own = "_Z(T[ISV]|GV)?Z*NK?8KVLInsIO.*";
  const std::string of_templates =
      "_Z(T[ISV]|GV)?Z*(N[VKRO]*)?(St|S[absiod]|9__gnu_cxx).*"  // std:: and __gnu_cxx::
      "|_ZnwmPv|_ZdlPvS_"                                       // placement new
      "|DW\\.ref\\..*|__clang_call_terminate";                  // the compiler's own
  if (!MatchOf(symbol.name, own).empty()) return true;
  const bool is_shared_among_programs = std::string("WVu").find(symbol.type) != std::string::npos;
  return is_shared_among_programs && !MatchOf(symbol.name, of_templates).empty();
}

/// Returns what nm finds in the archive of the library.
class PackageArchive : public Package {
 protected:
  std::vector<Symbol> Symbols(const Lines& options) const {
    Lines command = {Cached("CMAKE_NM"), Archive()};
    command.insert(command.end(), options.begin(), options.end());
    std::vector<Symbol> symbols;
    for (const std::string& text : LinesOf(Require(command))) {
      const Groups symbol = MatchOf(text, "[0-9a-f ]*([A-Za-z]) (.+)");
      if (!symbol.empty()) symbols.push_back({symbol[1], symbol[2]});
    }
    return symbols;
  }
};

TEST_F(PackageArchive, DefinesItsOwnNamesOnly) {
  if (kSanitized) GTEST_SKIP() << "the sanitizers put symbols of their own into it";
  Lines others;
  for (const Symbol& symbol : Symbols({"--extern-only", "--defined-only"})) {
    if (!BelongsToTheLibrary(symbol)) others.push_back(symbol.type + " " + symbol.name);
  }
  EXPECT_THAT(others, IsEmpty());
}

TEST_F(PackageArchive, HidesInAnInnerNamespaceWhatNoHeaderShows) {
  std::set<std::string> shown, not_shown;
  for (const std::string& name : kPublicHeaders) {
    for (std::string line : LinesOf(ReadFile(Installed("include/KVLInsIO/" + name)))) {
      line.resize(std::min(line.find("//"), line.size()));
      for (const Groups& word : MatchesIn(line, "\\w+")) shown.insert(word[0]);
    }
  }
  int symbols = 0;
  for (const Symbol& symbol : Symbols({"--demangle", "--extern-only", "--defined-only"})) {
    const Groups match = MatchOf(symbol.name, "(\\w+ for )?KVLInsIO::(\\w+).*");
    if (match.empty()) continue;
    ++symbols;
    if (!shown.contains(match[2])) not_shown.insert(match[2]);
  }
  EXPECT_GT(symbols, 40);
  EXPECT_THAT(not_shown, IsEmpty());
}

TEST_F(PackageArchive, EndsNoProcessSaysNothingAndReadsNoEnvironment) {
  const Lines forbidden = WordsOf(
      "exit _exit _Exit quick_exit abort atexit printf vprintf fprintf vfprintf dprintf "
      "puts fputs putchar fwrite perror stdout stderr stdin syslog _ZSt4cout _ZSt4cerr "
      "_ZSt4clog _ZSt3cin _ZNSt8ios_base4InitC1Ev getenv secure_getenv setenv putenv "
      "environ fork vfork execvp execve system popen posix_spawn kill raise signal chdir "
      "umask");
  Lines called;
  for (const Symbol& symbol : Symbols({"--undefined-only"})) called.push_back(symbol.name);
  EXPECT_THAT(called, testing::Contains("mkdir")) << "no calls were recognised at all";
  EXPECT_THAT(called, testing::Each(testing::Not(testing::AnyOfArray(forbidden))));
}

}  // namespace
}  // namespace kvl::test
