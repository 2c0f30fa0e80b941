// Many findings of one code, and the first line of a script.
#include "companion/check/findings.h"

#include "companion/check/program_head.h"
#include "tests/support/test.h"

namespace kvl::test {
namespace {

TEST(Findings, BecomeMoreSevereEvenIfNoFurtherOnesAreKept) {
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

/// Linux looks at the first 256 bytes.
TEST(ProgramHead, KnowsTheInterpreterOfAFirstLineOfAtMost256Bytes) {
  const std::string name = "/bin/sh", line = "#!" + name + std::string(246, ' ');
  EXPECT_EQ(ProgramHead(FileStart{line + "\n"}).Interpreter(), name);
  EXPECT_EQ(ProgramHead(FileStart{line + " \n"}).Interpreter(), "");
}

}  // namespace
}  // namespace kvl::test
