// Who includes whom, read from the sources: the folders point one way, and no file reaches itself.

#include "tests/support/outcome.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// What each folder may include beside its own files.
const std::map<std::string, std::set<std::string>> kMayInclude = {
    {"insio", {}},
    {"environment", {"insio"}},
    {"console", {"environment", "insio"}},
    {"media", {"console", "environment", "insio"}},
    {"launcher", {"media", "console", "environment", "insio"}},
    {"companion/names", {"media"}},
    {"companion/make", {"companion/names", "media", "console", "environment", "insio"}},
    {"companion/check",
     {"companion/names", "launcher", "media", "console", "environment", "insio"}},
    {"companion/report", {"companion/names", "companion/check", "media"}},
    {"companion",
     {"companion/names", "companion/make", "companion/check", "companion/report", "console",
      "environment"}},
};

struct Includes {
  std::set<std::string> own;     ///< files of the project, by their path in it
  std::set<std::string> system;  ///< what stands in angle brackets
};

Includes IncludesOf(const std::string& file) {
  static const std::regex pattern("\\s*#\\s*include\\s*([<\"])([^>\"]+)[>\"].*");
  const std::string folder = fs::path(file).parent_path();
  Includes includes;
  std::ifstream stream(SourceFile(file));
  for (std::string line; std::getline(stream, line);) {
    std::smatch match;
    if (!std::regex_match(line, match, pattern)) continue;
    const std::string name = match[2];
    if (match[1] == "<") {
      includes.system.insert(name);
    } else {
      const bool is_neighbour = fs::exists(SourceFile(folder + "/" + name));
      includes.own.insert(is_neighbour ? folder + "/" + name : name);
    }
  }
  return includes;
}

class IncludeGraph : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto& [folder, unused] : kMayInclude) {
      if (!fs::exists(SourceFile(folder))) GTEST_SKIP() << "the sources are not there";
      for (const auto& entry : fs::directory_iterator(SourceFile(folder))) {
        const std::string extension = entry.path().extension();
        if (extension != ".h" && extension != ".cpp") continue;
        const std::string file = folder + "/" + entry.path().filename().string();
        files_[file] = IncludesOf(file);
      }
    }
  }

  /// The first circle below the last file of `way`, as "a > b > a"; empty when there is none.
  std::string CircleBelow(std::vector<std::string>& way) {
    const std::string file = way.back();
    if (finished_.contains(file)) return {};
    for (const std::string& next : files_[file].own) {
      const bool closes = std::find(way.begin(), way.end(), next) != way.end();
      way.push_back(next);
      if (closes) return Joined(way);
      if (std::string circle = CircleBelow(way); !circle.empty()) return circle;
      way.pop_back();
    }
    finished_.insert(file);
    return {};
  }

  static std::string Joined(const std::vector<std::string>& way) {
    std::string text;
    for (const std::string& file : way) text += (text.empty() ? "" : " > ") + file;
    return text;
  }

  std::map<std::string, Includes> files_;
  std::set<std::string> finished_;
};

std::string FolderOf(const std::string& file) {
  return fs::path(file).parent_path();
}

TEST_F(IncludeGraph, HoldsEveryFileThatIsIncluded) {
  EXPECT_GT(files_.size(), 50U);
  for (const auto& [file, includes] : files_) {
    for (const std::string& included : includes.own) {
      EXPECT_TRUE(files_.contains(included)) << file << " includes " << included;
    }
  }
}

TEST_F(IncludeGraph, PointsOneWayAmongTheFolders) {
  std::vector<std::string> wrong;
  for (const auto& [file, includes] : files_) {
    for (const std::string& included : includes.own) {
      const std::string from = FolderOf(file), to = FolderOf(included);
      if (from != to && !kMayInclude.at(from).contains(to)) {
        wrong.push_back(file + " > " + included);
      }
    }
  }
  EXPECT_THAT(wrong, IsEmpty());
}

TEST_F(IncludeGraph, HasNoCircle) {
  for (const auto& [file, includes] : files_) {
    std::vector<std::string> way = {file};
    EXPECT_EQ(CircleBelow(way), "");
  }
}

/// The headers that the library's build file installs.
std::set<std::string> InstalledHeaders() {
  const std::string text = ReadFile(SourceFile("insio/CMakeLists.txt"));
  static const std::regex list("set\\(public_headers((?:\\s+\\w+\\.h)+)\\)");
  std::smatch match;
  if (!std::regex_search(text, match, list)) return {};
  std::set<std::string> names;
  std::istringstream words(match[1]);
  for (std::string name; words >> name;) names.insert("insio/" + name);
  return names;
}

TEST_F(IncludeGraph, OfTheInstalledHeadersHoldsThemAndTheStandardLibraryOnly) {
  static const std::regex standard("[a-z_]+");
  const std::set<std::string> installed = InstalledHeaders();
  EXPECT_GT(installed.size(), 5U);
  for (const std::string& header : installed) {
    for (const std::string& included : files_.at(header).own) {
      EXPECT_TRUE(installed.contains(included)) << header << " includes " << included;
    }
    for (const std::string& included : files_.at(header).system) {
      EXPECT_TRUE(std::regex_match(included, standard)) << header << " includes " << included;
    }
  }
}

// An installed header is found beside the one that names it, and nowhere else.
TEST_F(IncludeGraph, OfTheInstalledHeadersNamesThemWithoutAFolder) {
  for (const std::string& header : InstalledHeaders()) {
    EXPECT_EQ(ReadFile(SourceFile(header)).find("#include \"insio/"), std::string::npos) << header;
  }
}

}  // namespace
}  // namespace kvl::test
