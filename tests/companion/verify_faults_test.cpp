// kvl-media verify on a disc that fails once: whichever call fails, verify names the error and does
// not call the media whole.
#include "companion/verify/media_verify.h"
#include "tests/companion/sealed_world.h"
#include "tests/support/system_faults.h"

namespace kvl::test {
namespace {

/// Repeats the verification, and lets another call of this kind fail each time. Ends when no call
/// is left.
void ExpectEveryFailureToBeNamed(const VerifyRequest& request, FailingCall::Call call) {
  constexpr int kMost = 2000;
  const bool has_path = call != FailingCall::kRead && call != FailingCall::kReadDir;
  int after = 0;
  for (bool is_whole = false; !is_whole && after < kMost; ++after) {
    const FailingCall failing = has_path ? FailingCall(call, "", EIO, after, /*times=*/1)
                                         : FailingCall(call, EIO, after, /*times=*/1);
    const VerifyReport report = VerifyMedia(request);
    is_whole = report.IsWhole();
    const bool is_named =
        std::any_of(report.flaws.begin(), report.flaws.end(), [](const Flaw& flaw) {
          return flaw.detail.find("Input/output error") != std::string::npos;
        });
    EXPECT_NE(is_whole, is_named) << after;
  }
  EXPECT_GT(after, 1);
  EXPECT_LT(after, kMost);
}

TEST(VerifyOfADiscThatFailsOnce, NamesTheError) {
  for (const std::string layout : {"single", "sibling"}) {
    SealedWorld world;
    world.Make(layout);
    const VerifyRequest request = {.directories = {world.Path("media")}, .key = {}};
    ASSERT_TRUE(VerifyMedia(request).IsWhole());
    for (const FailingCall::Call call :
         {FailingCall::kLook, FailingCall::kOpenBelow, FailingCall::kRead, FailingCall::kReadDir}) {
      SCOPED_TRACE(layout + ", call " + std::to_string(call));
      ExpectEveryFailureToBeNamed(request, call);
    }
  }
}

}  // namespace
}  // namespace kvl::test
