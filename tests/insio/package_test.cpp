// The installed library, as another program gets it.
//
// Installed from the build tree that this test program lies in, with the tools that built it. Where
// there is none, as for a copy of the program alone, these tests are skipped.

#include <cctype>

#include "tests/support/outcome.h"
#include "tests/support/sanitized.h"
#include "tests/support/scoped_env.h"
#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"
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

Lines Sorted(Lines lines) {
  std::sort(lines.begin(), lines.end());
  return lines;
}

/// The program of this name on the way that the environment gives; empty when there is none.
std::string ProgramInPath(const std::string& name) {
  const Environment env = CurrentEnvironment();
  const auto path = env.find("PATH");
  std::istringstream directories(path == env.end() ? "/usr/bin:/bin" : path->second);
  for (std::string directory; std::getline(directories, directory, ':');) {
    const std::string program = directory + "/" + name;
    if (::access(program.c_str(), X_OK) == 0) return program;
  }
  return {};
}

/// The library installed into a directory of the test's own.
class Package : public testing::Test {
 protected:
  void SetUp() override {
    const std::string cache = build_ + "/CMakeCache.txt";
    if (!fs::exists(cache)) GTEST_SKIP() << "this program is not in the directory it was built in";
    if (::access(build_.c_str(), W_OK) != 0) {
      GTEST_SKIP() << "installing leaves its list in the build directory, which is closed to us";
    }
    if (::access(Cached("CMAKE_COMMAND").c_str(), X_OK) != 0) GTEST_SKIP() << "cmake is missing";
    Require({Cached("CMAKE_COMMAND"), "--install", build_, "--component", "KVLInsIO", "--prefix",
             Installed()});
  }

  std::string Path(const std::string& name) const { return directory_.Path(name); }
  std::string Installed(const std::string& name = "") const {
    return Path("installed") + (name.empty() ? "" : "/" + name);
  }
  /// Where libraries go, below the installed directory.
  std::string LibraryDir() const { return Cached("CMAKE_INSTALL_LIBDIR"); }
  std::string Archive() const { return Installed(LibraryDir() + "/libKVLInsIO.a"); }

  /// What the build tree was configured with.
  std::string Cached(const std::string& name) const {
    std::ifstream cache(build_ + "/CMakeCache.txt");
    for (std::string line; std::getline(cache, line);) {
      if (line.starts_with(name + ":")) return line.substr(line.find('=') + 1);
    }
    return {};
  }

  /// Whoever configures a tree a second time may leave the mere name in its cache.
  std::string Compiler() const {
    const std::string name = Cached("CMAKE_CXX_COMPILER");
    return name.find('/') == std::string::npos ? ProgramInPath(name) : name;
  }

  /// With what everything that links the library has to be compiled, too.
  std::string CommonFlags() const {
    if (kSanitized) return "-fsanitize=address,undefined";
    return Cached("KVL_COVERAGE") == "ON" ? "--coverage" : "";
  }

  Outcome Run(const std::vector<std::string>& command, const std::string& directory = "") const {
    Environment env = CurrentEnvironment();
    env["PKG_CONFIG_PATH"] = Installed(LibraryDir() + "/pkgconfig");
    return RunProgram({command, env, directory.empty() ? directory_.Path() : directory});
  }

  /// Runs a command that has to work, and returns what it said.
  std::string Require(const std::vector<std::string>& command) const {
    const Outcome outcome = Run(command);
    EXPECT_EQ(outcome.status, 0) << testing::PrintToString(command) << "\n"
                                 << outcome.out << outcome.err;
    return outcome.out;
  }

  /// Compiles one file, with all warnings as errors.
  void Compile(const std::string& source, const std::vector<std::string>& further) const {
    std::vector<std::string> command = {Compiler(),   "-Wall",   "-Wextra",
                                        "-Wpedantic", "-Werror", source};
    command.insert(command.end(), further.begin(), further.end());
    Require(command);
  }

  Lines HeaderNames() const {
    Lines names;
    for (const auto& entry : fs::directory_iterator(Installed("include/KVLInsIO"))) {
      names.push_back(entry.path().filename());
    }
    return Sorted(names);
  }

  ScopedUmask umask_{022};
  TestDirectory directory_;
  std::string build_ = fs::path(BuiltProgram("")).parent_path().parent_path();
};

using PackageArchive = Package;

const Lines kPublicHeaders = {
    "KVLInsIO.h",         "copy.h",   "create_dir.h",     "delete.h", "entry.h",     "exceptions.h",
    "file_attributes.h",  "finder.h", "open_directory.h", "path.h",   "path_text.h", "rename.h",
    "replace_in_lines.h",
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
                    "share/man/man3/KVLInsIO.3"};
  for (const std::string& name : kPublicHeaders) expected.push_back("include/KVLInsIO/" + name);

  Lines files;
  for (const auto& entry : fs::recursive_directory_iterator(Installed())) {
    if (!entry.is_directory()) {
      files.push_back(entry.path().lexically_relative(Installed()).string());
    }
  }
  EXPECT_EQ(Sorted(files), Sorted(expected));
}

TEST_F(Package, HasHeadersThatCompileEachByItself) {
  for (const std::string& name : HeaderNames()) {
    const std::string source = directory_.Write(
        "only_" + name + ".cpp", "#include <KVLInsIO/" + name + ">\nint main() { return 0; }\n");
    Compile(source, {"-std=c++20", "-fsyntax-only", "-I" + Installed("include")});
  }
  EXPECT_EQ(HeaderNames(), kPublicHeaders);
}

TEST_F(Package, HasOneHeaderThatHoldsAllOthers) {
  Lines expected;
  for (const std::string& name : kPublicHeaders) {
    if (name != "KVLInsIO.h") expected.push_back("#include \"" + name + "\"");
  }
  Lines included;
  for (const std::string& line : LinesOf(ReadFile(Installed("include/KVLInsIO/KVLInsIO.h")))) {
    if (line.starts_with("#include")) included.push_back(line);
  }
  EXPECT_EQ(included, expected);
}

TEST_F(Package, TellsAProgramItsVersion) {
  const std::string source = directory_.Write("version.cpp",
                                              "#include <KVLInsIO/KVLInsIO.h>\n"
                                              "#include <cstdio>\n"
                                              "static_assert(KVLINSIO_VERSION >= 100);\n"
                                              "int main() {\n"
                                              "  const int number = KVLINSIO_VERSION;\n"
                                              "  std::printf(\"%d.%d.%d\", number / 10000,\n"
                                              "              number / 100 % 100, number % 100);\n"
                                              "}\n");
  Compile(source, {"-std=c++20", "-I" + Installed("include"), "-o", Path("version")});
  EXPECT_EQ(Require({Path("version")}), Cached("CMAKE_PROJECT_VERSION"));
}

TEST_F(Package, CanBePartOfASharedObject) {
  const std::string plug_in = directory_.Write(
      "plug_in.cpp",
      "#include <KVLInsIO/KVLInsIO.h>\n"
      "std::string Failure() try {\n"
      "  KVLInsIO::Copy(\"missing\", \"copy\");\n"
      "  return \"none\";\n"
      "} catch (const KVLInsIO::KVLInsException& failure) {\n"
      "  return failure.what() + KVLInsIO::InsPath(\"a//b\").Str() + KVLInsIO::kPathSeparator;\n"
      "}\n");
  const std::string program = directory_.Write("program.cpp",
                                               "#include <cstdio>\n"
                                               "#include <string>\n"
                                               "std::string Failure();\n"
                                               "int main() { std::puts(Failure().c_str()); }\n");
  std::vector<std::string> flags = {"-std=c++2b"};
  if (!CommonFlags().empty()) flags.push_back(CommonFlags());
  std::vector<std::string> of_object = {"-shared",
                                        "-fPIC",
                                        "-I" + Installed("include"),
                                        "-Wl,--whole-archive",
                                        Archive(),
                                        "-Wl,--no-whole-archive",
                                        "-o",
                                        Path("libplug_in.so")};
  of_object.insert(of_object.begin(), flags.begin(), flags.end());
  Compile(plug_in, of_object);
  flags.insert(flags.end(),
               {Path("libplug_in.so"), "-Wl,-rpath," + directory_.Path(), "-o", Path("program")});
  Compile(program, flags);
  EXPECT_EQ(Require({Path("program")}), "lstat - missing - No such file or directory\na/b/\n");
}

/// The example project, built with what is installed.
class Consumer : public Package {
 protected:
  void SetUp() override {
    Package::SetUp();
    if (IsSkipped() || HasFailure()) return;
    const std::string source = SourceFile("examples/consumer");
    if (!fs::exists(source)) GTEST_SKIP() << "the sources are not there";
    Require({Cached("CMAKE_COMMAND"), "-S", source, "-B", Path("build"), "-G",
             Cached("CMAKE_GENERATOR"), "-DCMAKE_MAKE_PROGRAM=" + Cached("CMAKE_MAKE_PROGRAM"),
             "-DCMAKE_CXX_COMPILER=" + Cached("CMAKE_CXX_COMPILER"),
             "-DCMAKE_CXX_FLAGS=" + CommonFlags(), "-DCMAKE_PREFIX_PATH=" + Installed()});
    Require({Cached("CMAKE_COMMAND"), "--build", Path("build")});
  }

  Outcome RunConsumer(const std::vector<std::string>& arguments) const {
    std::vector<std::string> command = {Path("build/consumer")};
    command.insert(command.end(), arguments.begin(), arguments.end());
    return Run(command);
  }
};

TEST_F(Consumer, CopiesATreeReplacesAWordInItAndListsIt) {
  directory_.Write("from/one", "the cat sat\non the cat\n");
  directory_.Write("from/sub/two", "no dog\n");
  directory_.Write("from/sub/a b", "cat");
  const Outcome outcome = RunConsumer({"from", "to", "cat", "dog"});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(Sorted(LinesOf(outcome.out)),
            (Lines{"3 replaced", "to/one: 2", "to/sub/a b: 1", "to/sub/two: 0"}));
  EXPECT_EQ(LinesOf(outcome.out).back(), "3 replaced");
  EXPECT_THAT(DescribeTree(Path("to")),
              ElementsAre("d 755 sub", "f 644 one = the dog sat\non the dog", "f 644 sub/a b = dog",
                          "f 644 sub/two = no dog\n"));

  const Outcome failed = RunConsumer({"missing", "to", "cat", "dog"});
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.out, "");
  EXPECT_EQ(failed.err, "lstat - missing - No such file or directory\n");

  const Outcome misused = RunConsumer({"from"});
  EXPECT_EQ(misused.status, 2);
  EXPECT_EQ(misused.out, "");
  EXPECT_EQ(misused.err, "usage: consumer SOURCE DESTINATION OLD NEW\n");
}

/// What stands between the lines "```cpp" and "```" of a text.
std::string CodeIn(const std::string& text) {
  const std::string begin = "```cpp\n";
  const std::size_t from = text.find(begin);
  if (from == std::string::npos) return {};
  return text.substr(from + begin.size(), text.find("```\n", from + 1) - from - begin.size());
}

TEST_F(Package, BuildsAndRunsTheExampleOfTheGuideWithTheFlagsOfPkgConfig) {
  const std::string guide = SourceFile("docs/insio.md");
  if (!fs::exists(guide)) GTEST_SKIP() << "the sources are not there";
  const std::string pkg_config = ProgramInPath("pkg-config");
  if (pkg_config.empty()) GTEST_SKIP() << "pkg-config is missing";
  std::istringstream words(Require({pkg_config, "--cflags", "--libs", "KVLInsIO"}) + " " +
                           CommonFlags());
  std::vector<std::string> flags = {"-std=c++20", "-o", Path("example")};
  for (std::string word; words >> word;) flags.push_back(word);
  Compile(directory_.Write("example.cpp", CodeIn(ReadFile(guide))), flags);

  directory_.Write("work/templates/index", "@HOST@\nis not @HOSTS@, but @HOST@\n");
  directory_.Write("work/templates/plain", "nothing\n");
  directory_.Write("work/templates/sub/deep", "@HOST@\n");
  directory_.Write("work/site/stale", "of the last time\n");
  const Outcome outcome = Run({Path("example"), Path("work")});
  EXPECT_EQ(outcome.status, 0);
  EXPECT_EQ(outcome.err, "");
  EXPECT_EQ(Sorted(LinesOf(outcome.out)), (Lines{"index: 2", "plain: 0"}));
  EXPECT_THAT(DescribeTree(Path("work/site")),
              ElementsAre("d 755 sub", "f 644 index = example\nis not @HOSTS@, but example",
                          "f 644 plain = nothing\n", "f 644 sub/deep = @HOST@\n"));

  const Outcome failed = Run({Path("example"), Path("missing")});
  EXPECT_EQ(failed.status, 1);
  EXPECT_EQ(failed.out, "");
  EXPECT_EQ(failed.err, "lstat - " + Path("missing/templates") + " - No such file or directory\n");
}

TEST_F(Package, TellsPkgConfigItsVersion) {
  const std::string pkg_config = ProgramInPath("pkg-config");
  if (pkg_config.empty()) GTEST_SKIP() << "pkg-config is missing";
  EXPECT_EQ(Require({pkg_config, "--modversion", "KVLInsIO"}),
            Cached("CMAKE_PROJECT_VERSION") + "\n");
}

TEST_F(Package, LeavesTheLanguageStandardToWhoCompiles) {
  const std::string pkg_config = ProgramInPath("pkg-config");
  if (pkg_config.empty()) GTEST_SKIP() << "pkg-config is missing";
  std::istringstream flags(Require({pkg_config, "--cflags", "KVLInsIO"}));
  Lines words;
  for (std::string word; flags >> word;) words.push_back(word);
  EXPECT_THAT(words, ElementsAre(testing::StartsWith("-I" + Installed(LibraryDir()))));
}

struct Symbol {
  std::string type;  ///< the letter of nm
  std::string name;  ///< as the linker sees it
};

/// The symbols in the output of nm.
std::vector<Symbol> SymbolsIn(const std::string& output) {
  static const std::regex pattern("[0-9a-f ]* ([A-Za-z]) (\\S+)");
  std::vector<Symbol> symbols;
  for (const std::string& line : LinesOf(output)) {
    std::smatch match;
    if (std::regex_match(line, match, pattern)) {
      symbols.push_back({match[1], match[2]});
    }
  }
  return symbols;
}

/// The words of a header's code; comments are left out.
std::set<std::string> WordsOf(const std::string& header) {
  static const std::regex comment("//[^\n]*"), word("\\w+");
  const std::string code = std::regex_replace(header, comment, "");
  return {std::sregex_token_iterator(code.begin(), code.end(), word), {}};
}

/// Part of KVLInsIO, or what the compiler makes of the standard library's templates.
bool BelongsToTheLibrary(const Symbol& symbol) {
  static const std::regex own("_Z(T[ISV]|GV)?Z*NK?8KVLInsIO.*");
  static const std::regex of_templates(
      "_Z(T[ISV]|GV)?Z*(N[VKRO]*)?(St|S[absiod]|9__gnu_cxx).*"  // std:: and __gnu_cxx::
      "|_ZnwmPv|_ZdlPvS_"                                       // placement new
      "|DW\\.ref\\..*|__clang_call_terminate");                 // the compiler's own
  if (std::regex_match(symbol.name, own)) return true;
  const bool is_shared_among_programs = std::string("WVu").find(symbol.type) != std::string::npos;
  return is_shared_among_programs && std::regex_match(symbol.name, of_templates);
}

TEST_F(PackageArchive, DefinesItsOwnNamesOnly) {
  if (kSanitized) GTEST_SKIP() << "the sanitizers put symbols of their own into it";
  Lines others;
  for (const Symbol& symbol :
       SymbolsIn(Require({Cached("CMAKE_NM"), "--extern-only", "--defined-only", Archive()}))) {
    if (!BelongsToTheLibrary(symbol)) others.push_back(symbol.type + " " + symbol.name);
  }
  EXPECT_THAT(others, IsEmpty());
}

TEST_F(PackageArchive, HidesInAnInnerNamespaceWhatNoHeaderShows) {
  std::string headers;
  for (const std::string& name : HeaderNames())
    headers += ReadFile(Installed("include/KVLInsIO/" + name));
  const std::set<std::string> shown = WordsOf(headers);
  static const std::regex own("[0-9a-f ]* [A-Za-z] (\\w+ for )?KVLInsIO::(\\w+).*");
  std::set<std::string> not_shown;
  int symbols = 0;
  for (const std::string& line : LinesOf(Require(
           {Cached("CMAKE_NM"), "--demangle", "--extern-only", "--defined-only", Archive()}))) {
    std::smatch match;
    if (!std::regex_match(line, match, own)) continue;
    ++symbols;
    if (!shown.contains(match[2])) not_shown.insert(match[2]);
  }
  EXPECT_GT(symbols, 40);
  EXPECT_THAT(not_shown, IsEmpty());
}

TEST_F(PackageArchive, EndsNoProcessSaysNothingAndKeepsAwayFromTheEnvironment) {
  const std::set<std::string> forbidden = {
      "exit",      "_exit",         "_Exit",     "quick_exit", "abort",
      "atexit",    "printf",        "vprintf",   "fprintf",    "vfprintf",
      "dprintf",   "puts",          "fputs",     "putchar",    "fwrite",
      "perror",    "stdout",        "stderr",    "stdin",      "syslog",
      "_ZSt4cout", "_ZSt4cerr",     "_ZSt4clog", "_ZSt3cin",   "_ZNSt8ios_base4InitC1Ev",
      "getenv",    "secure_getenv", "setenv",    "putenv",     "environ",
      "fork",      "vfork",         "execvp",    "execve",     "system",
      "popen",     "posix_spawn",   "kill",      "raise",      "signal",
      "chdir",     "umask"};
  Lines called, found;
  for (const Symbol& symbol :
       SymbolsIn(Require({Cached("CMAKE_NM"), "--undefined-only", Archive()}))) {
    called.push_back(symbol.name);
    if (forbidden.contains(symbol.name)) found.push_back(symbol.name);
  }
  EXPECT_THAT(found, IsEmpty());
  EXPECT_THAT(called, testing::Contains("mkdir")) << "no calls were recognised at all";
}

}  // namespace
}  // namespace kvl::test
