// What a report keeps of many findings.
#include "companion/check/findings.h"

#include "tests/support/test.h"

namespace kvl::test {
namespace {

TEST(Findings, BecomeMoreSevereAlsoWhenNoMoreAreKept) {
  constexpr FindingKind kKind = FindingKind::kDanglingLink;
  Findings findings;
  for (std::size_t i = 0; i < Findings::kMostOfOneCode; ++i) {
    findings.Add(kKind, Severity::kWarning, std::to_string(i));
  }
  findings.Add(kKind, Severity::kError, "0");
  EXPECT_EQ(findings.All().front().severity, Severity::kError);
  EXPECT_TRUE(findings.NotKept().empty());
  findings.Add(kKind, Severity::kError, "one more");
  EXPECT_EQ(findings.Count(), Findings::kMostOfOneCode + 1);
}

}  // namespace
}  // namespace kvl::test
