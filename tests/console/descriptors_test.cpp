#include "console/descriptors.h"

#include "tests/support/outcome.h"

namespace kvl::test {
namespace {

constexpr int kStandardStreams = 3;
constexpr int kHighest = 256;

/// The descriptors that a caller may have left, within RunIsolated: the standard streams and three
/// more.
void SetUpDescriptors() {
  ::dup2(::open("/dev/null", O_RDWR), STDIN_FILENO);
  for (int number = kStandardStreams; number < kHighest; ++number) ::close(number);
  for (const int number : {3, 9, 200}) ::dup2(STDIN_FILENO, number);
}

TEST(PrepareDescriptors, LeavesNothingToReadOrWriteOnClosedStreams) {
  const Outcome outcome = RunIsolated([] {
    SetUpDescriptors();
    for (int stream = 0; stream < kStandardStreams; ++stream) ::close(stream);
    PrepareDescriptors("/somewhere/kvl-launcher");
    for (int stream = 0; stream < kStandardStreams; ++stream) {
      char byte = 'x';
      if (::fcntl(stream, F_GETFD) != FD_CLOEXEC) return 1;
      if (::read(stream, &byte, 1) != -1 || errno != EBADF) return 2;
      if (::write(stream, &byte, 1) != -1 || errno != EBADF) return 3;
    }
    return 0;
  });
  EXPECT_EQ(outcome.status, 0);
}

/// Returns which of some descriptors a program with that name leaves to its child.
std::string LeftOpenBy(std::string_view own_name) {
  return RunIsolated([&] {
           SetUpDescriptors();
           PrepareDescriptors(own_name);
           for (int number = 0; number < kHighest; ++number) {
             if (::fcntl(number, F_GETFD) == 0) std::cout << number << " ";
           }
           return 0;
         })
      .out;
}

TEST(PrepareDescriptors, ClosesTheOneTheProgramWasStartedThrough) {
  EXPECT_EQ(LeftOpenBy("/proc/self/fd/3"), "0 1 2 9 200 ");
  EXPECT_EQ(LeftOpenBy("/proc/self/fd/200"), "0 1 2 3 9 ");
}

TEST(PrepareDescriptors, ClosesNothingOfAProgramStartedOtherwise) {
  for (const char* name :
       {"", "3", "kvl-launcher", "/proc/self/fd/", "/proc/self/fd/3/kvl-launcher",
        "/proc/self/fd/+3", "/proc/self/fd/ 3", "/proc/self/fd/-3", "/proc/self/fd/3 ",
        "/proc/self/fd/0", "/proc/self/fd/1", "/proc/self/fd/2", "/proc/self/fd/4",
        "/proc/self/fd/99999999999999999999", "/proc/1/fd/3", "x/proc/self/fd/3"}) {
    EXPECT_EQ(LeftOpenBy(name), "0 1 2 3 9 200 ") << name;
  }
}

}  // namespace
}  // namespace kvl::test
