#include "tests/companion/xorriso.h"

namespace kvl::test {

std::string WhyNoXorriso() {
  if (::access(kXorriso, X_OK) != 0) return "xorriso is not installed";
  return OptionsOfTheGuide().empty() ? "the sources are not there" : "";
}

Lines OptionsOfTheGuide() {
  const std::string guide = SourceFile("docs/authors-guide.md");
  if (!fs::exists(guide)) return {};
  Lines options;
  for (const Groups& line :
       MatchesIn(ReadFile(guide), "\n  LC_ALL=C xorriso (-as mkisofs [^\\\\\"]*)")) {
    for (const Groups& word : MatchesIn(line[1], "\\S+")) options.push_back(word[0]);
  }
  return options;
}

std::uint64_t ImageByHand(const std::string& directory, const std::string& image) {
  Lines command = OptionsOfTheGuide();
  command.insert(command.begin(), kXorriso);
  command.insert(command.end(), {"-V", "SET_A", "-o", image, directory});
  const Outcome seen = RunProgram({command, {{"LC_ALL", "C"}}});
  EXPECT_EQ(seen.status, 0) << seen.err;
  return seen.status == 0 ? fs::file_size(image) : 0;
}

void Unpack(const std::string& image, const std::string& directory) {
  const Outcome seen = RunProgram({{kXorriso, "-no_rc", "-osirrox", "on:auto_chmod_on", "-indev",
                                    "stdio:" + image, "-extract", "/", directory},
                                   {{"LC_ALL", "C"}}});
  EXPECT_EQ(seen.status, 0) << seen.err;
}

}  // namespace kvl::test
