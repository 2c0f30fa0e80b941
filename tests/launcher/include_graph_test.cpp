// Reads from the sources which file includes which: the folders point one way, and no file includes
// itself by way of others.

#include "tests/support/outcome.h"
#include "tests/support/test_directory.h"

namespace kvl::test {
namespace {

/// The folders that each folder may include beside itself.
const std::map<std::string, std::set<std::string>> kMayInclude = {
    {"insio", {}},
    {"environment", {"insio"}},
    {"console", {"environment", "insio"}},
    {"media", {"console", "environment", "insio"}},
    {"launcher", {"media", "console", "environment", "insio"}},
    {"companion/names", {"media", "insio"}},
    {"companion/tasks", {}},
    {"companion/programs", {"console", "environment"}},
    {"companion/seal", {"companion/programs", "companion/names", "media", "environment", "insio"}},
    {"companion/clean", {"companion/names", "launcher", "console", "environment", "insio"}},
    {"companion/make",
     {"companion/seal", "companion/programs", "companion/tasks", "companion/names", "media",
      "console", "environment", "insio"}},
    {"companion/check",
     {"companion/names", "launcher", "media", "console", "environment", "insio"}},
    {"companion/verify",
     {"companion/seal", "companion/tasks", "companion/names", "media", "environment", "insio"}},
    {"companion/report",
     {"companion/names", "companion/check", "companion/verify", "media", "environment"}},
    {"companion/calls",
     {"companion/names", "companion/seal", "companion/clean", "companion/make", "companion/check",
      "companion/verify", "companion/report", "console", "environment", "insio"}},
    {"companion", {"companion/calls"}},
};

/// The files that each file of the project includes, by their paths in the project.
class IncludeGraph : public testing::Test {
 protected:
  void SetUp() override {
    for (const auto& [folder, unused] : kMayInclude) {
      if (!fs::exists(SourceFile(folder))) GTEST_SKIP() << "the sources are not there";
      for (const auto& entry : fs::directory_iterator(SourceFile(folder))) {
        const std::string name = entry.path().filename();
        if (!name.ends_with(".h") && !name.ends_with(".cpp")) continue;
        Read(folder, name);
      }
    }
  }

  std::map<std::string, std::set<std::string>> own_;
  std::map<std::string, std::set<std::string>> system_;  ///< the names in angle brackets

 private:
  void Read(const std::string& folder, const std::string& name) {
    const std::string pattern = "\\s*#\\s*include\\s*([<\"])([^>\"]+)[>\"].*";
    const std::string file = folder + "/" + name;
    own_[file];
    std::ifstream stream(SourceFile(file));
    for (std::string line; std::getline(stream, line);) {
      const Groups match = MatchOf(line, pattern);
      if (match.empty()) continue;
      const std::string neighbour = folder + "/" + match[2];
      if (match[1] == "<") {
        system_[file].insert(match[2]);
      } else {
        own_[file].insert(fs::exists(SourceFile(neighbour)) ? neighbour : match[2]);
      }
    }
  }
};

std::string FolderOf(const std::string& file) {
  return fs::path(file).parent_path();
}

TEST_F(IncludeGraph, PointsOneWayAndToExistingFiles) {
  EXPECT_GT(own_.size(), 50U);
  for (const auto& [file, includes] : own_) {
    for (const std::string& included : includes) {
      EXPECT_TRUE(own_.contains(included)) << file << " includes " << included;
      const std::string from = FolderOf(file), to = FolderOf(included);
      EXPECT_TRUE(from == to || kMayInclude.at(from).contains(to)) << file << " > " << included;
    }
  }
}

TEST_F(IncludeGraph, HasNoCircle) {
  // Removes files that include no remaining file. What remains is a circle or leads to one.
  const auto is_left = [this](const std::string& file) { return own_.contains(file); };
  while (std::erase_if(own_, [&](const auto& node) {
           return std::none_of(node.second.begin(), node.second.end(), is_left);
         }) > 0) {
  }
  EXPECT_THAT(own_, IsEmpty());
}

/// Returns the headers that the library's build file installs.
std::set<std::string> InstalledHeaders() {
  const std::string text = ReadFile(SourceFile("insio/CMakeLists.txt"));
  std::set<std::string> names;
  for (const Groups& list : MatchesIn(text, "set\\(public_headers((?:\\s+\\w+\\.h)+)\\)")) {
    for (const Groups& name : MatchesIn(list[1], "\\S+")) names.insert("insio/" + name[0]);
  }
  return names;
}

TEST_F(IncludeGraph, OfInstalledHeadersContainsOnlyThemAndStandardHeaders) {
  const std::set<std::string> installed = InstalledHeaders();
  EXPECT_GT(installed.size(), 5U);
  for (const std::string& header : installed) {
    for (const std::string& included : own_.at(header)) {
      EXPECT_TRUE(installed.contains(included)) << header << " includes " << included;
    }
    for (const std::string& included : system_[header]) {
      EXPECT_FALSE(MatchOf(included, "[a-z_]+").empty()) << header << " includes " << included;
    }
  }
}

// An installed header lies beside the header that includes it, and nowhere else.
TEST_F(IncludeGraph, OfInstalledHeadersNamesThemWithoutAFolder) {
  for (const std::string& header : InstalledHeaders()) {
    EXPECT_EQ(ReadFile(SourceFile(header)).find("#include \"insio/"), std::string::npos) << header;
  }
}

}  // namespace
}  // namespace kvl::test
