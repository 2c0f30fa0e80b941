// Failures of system calls that no test can provoke for real. The test program is linked so that
// these calls go through here first; the product is the same as ever.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// While it lives, the call fails with this errno, or answers as told.
class FailingCall {
 public:
  enum Call { kFork, kGetHostName, kReadDir, kClose, kWaitPid, kExecVp, kRead, kUnlink };

  /// The first `after` calls go through, the next `times` ones fail; 0 stands for all.
  FailingCall(Call call, int error, int after = 0, int times = 0);
  ~FailingCall();
  FailingCall(const FailingCall&) = delete;
  FailingCall& operator=(const FailingCall&) = delete;

 private:
  Call call_;
};

/// While it lives, getuid answers this.
class FakeUser {
 public:
  explicit FakeUser(unsigned real_user_id);
  ~FakeUser();
  FakeUser(const FakeUser&) = delete;
  FakeUser& operator=(const FakeUser&) = delete;
};

/// While it lives, every file system says that it has so many free blocks of this size.
class FakeFreeBlocks {
 public:
  FakeFreeBlocks(std::uint64_t blocks, std::uint64_t block_size);
  ~FakeFreeBlocks();
  FakeFreeBlocks(const FakeFreeBlocks&) = delete;
  FakeFreeBlocks& operator=(const FakeFreeBlocks&) = delete;
};

}  // namespace kvl::test
