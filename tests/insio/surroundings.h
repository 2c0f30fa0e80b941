// What lies around an operation: working directory, user, limits and descriptors of the process,
// and what the system itself says of a file.
//
// Enter, EnterAsOrdinaryUser, LimitFileSize and LimitDescriptors last as long as the process: call
// them only in a process of its own, as in RunIsolated or IsolatedFailureOf.
#pragma once

#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

/// Throws "cannot <what>: <the error of the last call>" unless that was done.
void RequireDone(bool done, const std::string& what);

/// Makes the directory the working directory.
void Enter(const TestDirectory& directory);

/// As Enter, and gives the rights of root up for those of nobody in particular; any other user
/// stays. Everybody may look into the directory afterwards. Use relative paths: the way to the
/// directory itself may be closed.
void EnterAsOrdinaryUser(const TestDirectory& directory);

/// To be called in a child: the rights of root become those of nobody in particular.
void BecomeOrdinaryUser();

/// What a `before` of a program ends the process with where it cannot do its work.
inline constexpr int kImpossibleHere = 99;

/// To be called in the child: the superuser, too, is to ask for permissions.
void GiveUpPermissions();

/// Makes an entry the property of the user that EnterAsOrdinaryUser turns into.
void GiveToOrdinaryUser(const std::string& path);

/// No file can grow beyond this size: a write up to it is cut short, one behind it fails.
void LimitFileSize(unsigned bytes);

/// The numbers of all open descriptors, and what they lead to.
std::vector<std::string> OpenDescriptors();

/// No descriptor can have this number or a higher one.
void LimitDescriptors(unsigned count);

/// The names in a directory in the order of the system, without both dots.
std::vector<std::string> NamesInOrder(const std::string& directory);

/// What stat says, links followed.
struct stat StatusOf(const std::string& path);

/// At its end, everything below the directory has to be as it was at its beginning.
class Unchanged : Undo {
 public:
  explicit Unchanged(const std::string& directory)
      : Undo([directory, before = DescribeTreeExactly(directory)] {
          EXPECT_EQ(DescribeTreeExactly(directory), before);
        }) {}
};

/// A time of struct stat in one number.
inline constexpr std::int64_t kSecond = 1'000'000'000;
inline std::int64_t Nanoseconds(const timespec& time) {
  return time.tv_sec * kSecond + time.tv_nsec;
}

/// Rewrites a file with a text of the same length and puts its modification time, in whole seconds,
/// back. Its change time differs afterwards, however coarse the clock.
void RewriteUnnoticed(const std::string& path, const std::string& text);

/// A socket without anybody listening: nobody, not even root, can open it as a file.
std::string MakeSocket(const TestDirectory& directory, const std::string& name);

/// Calls `action` again and again, while another process exchanges what lies at the two paths as fast
/// as it can. Returns what went wrong: an action was not true, or did not come to an end.
std::string WhileExchanged(const std::string& one, const std::string& other,
                           const std::function<bool()>& action);

/// `beginning` and names of letters below it, such that the whole path has `length` bytes.
std::string PathOfLength(std::string beginning, std::size_t length);

/// A name of 300 bytes, more than any entry can have.
std::string TooLongName();

}  // namespace kvl::test
