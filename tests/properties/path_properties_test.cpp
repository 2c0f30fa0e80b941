#include "tests/insio/odd_paths.h"
#include "tests/models/path_laws.h"
#include "tests/properties/property.h"

namespace kvl::test {
namespace {

const std::vector<std::string> kParts = {"/", "/",  "\\", ".",  "..", "'", "\"", " ",
                                         "a", "ab", "m",  "//", ";",  ":", "\n", std::string(1, 0)};

/// Few different names, so that two paths often have something in common.
rc::Gen<std::string> Paths() {
  return rc::gen::oneOf(TextsOf(kParts), TextsOf({"/", "a", "b"}),
                        TextsOf({"/m", "/am", "/bm", "/.."}), rc::gen::elementOf(kOddPaths),
                        rc::gen::arbitrary<std::string>());
}

TEST(PathProperties, OfOnePathAgreeWithTheModel) {
  CheckProperty(20, [] { CheckPathLaws(*Paths()); });
}

TEST(PathProperties, OfTwoPathsAgreeWithTheModel) {
  CheckProperty(20, [] {
    const std::string one = *Paths(), other = *Paths();
    CheckPathPairLaws(one, other);
  });
}

TEST(PathProperties, OfAPathAndOneBelowItAgreeWithTheModel) {
  CheckProperty(10, [] {
    const std::string above = *Paths();
    const std::string below = above + "/" + *Paths();
    CheckPathPairLaws(above, below);
    CheckPathPairLaws(below, above);
  });
}

}  // namespace
}  // namespace kvl::test
