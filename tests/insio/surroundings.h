// The surroundings of an operation: the working directory, user, limits and descriptors of the
// process, and what the system says about a file.
//
// Enter, EnterAsOrdinaryUser, LimitFileSize and LimitDescriptors last as long as the process. Call
// them only in a process of its own, as in RunIsolated or IsolatedFailureOf.
#pragma once

#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

/// Throws "cannot <what>: <the error of the last call>" unless `done`.
void RequireDone(bool done, const std::string& what);

/// Makes the directory the working directory.
void Enter(const TestDirectory& directory);

/// Like Enter, but also replaces the rights of root by those of an ordinary user; any other user
/// stays. Everybody may then look into the directory. Use relative paths, because the user may lack
/// the right to reach the directory.
void EnterAsOrdinaryUser(const TestDirectory& directory);

/// Called in a child: replaces the rights of root by those of an ordinary user.
void BecomeOrdinaryUser();

/// The status with which a program's `before` ends the process if it cannot do its work.
inline constexpr int kImpossibleHere = 99;

/// Called in the child: subjects even the superuser to permissions.
void GiveUpPermissions();

/// Gives an entry to the user of EnterAsOrdinaryUser.
void GiveToOrdinaryUser(const std::string& path);

/// Limits the size of files: a write that crosses the limit is cut short, one behind it fails.
void LimitFileSize(unsigned bytes);

/// Returns the numbers and targets of all open descriptors.
std::vector<std::string> OpenDescriptors();

/// Limits descriptors to numbers below `count`.
void LimitDescriptors(unsigned count);

/// Returns the names in a directory in the system's order, without both dots.
std::vector<std::string> NamesInOrder(const std::string& directory);

/// Returns what stat says; follows links.
struct stat StatusOf(const std::string& path);

/// Expects everything below the directory to be the same at its end as at its beginning.
class Unchanged : Undo {
 public:
  explicit Unchanged(const std::string& directory)
      : Undo([directory, before = DescribeTreeExactly(directory)] {
          EXPECT_EQ(DescribeTreeExactly(directory), before);
        }) {}
};

/// A time of struct stat as one number.
inline constexpr std::int64_t kSecond = 1'000'000'000;
inline std::int64_t Nanoseconds(const timespec& time) {
  return time.tv_sec * kSecond + time.tv_nsec;
}

/// Rewrites a file with a text of the same length and restores its modification time, in whole
/// seconds. Its change time differs afterwards, however coarse the clock is.
void RewriteUnnoticed(const std::string& path, const std::string& text);

/// Makes a socket without a listener. Nobody, not even root, can open it as a file.
std::string MakeSocket(const TestDirectory& directory, const std::string& name);

/// Calls `action` again and again, while another process exchanges the entries at the two paths as
/// fast as it can. Returns a description of what went wrong: `action` returned false, or did not
/// end.
std::string WhileExchanged(const std::string& one, const std::string& other,
                           const std::function<bool()>& action);

/// Returns `beginning` followed by names of letters, such that the whole path has `length` bytes.
std::string PathOfLength(std::string beginning, std::size_t length);

/// Returns a name of 300 bytes, more than any entry can have.
std::string TooLongName();

}  // namespace kvl::test
