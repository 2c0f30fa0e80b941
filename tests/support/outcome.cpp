#include "tests/support/outcome.h"

#include <sys/mman.h>

namespace kvl::test {
namespace {

/// A file without a name that replaces a stream.
class CaughtStream {
 public:
  CaughtStream() : file_(::memfd_create("caught", MFD_CLOEXEC)) {
    if (file_ < 0) throw std::runtime_error("memfd_create failed");
  }
  ~CaughtStream() { ::close(file_); }
  CaughtStream(const CaughtStream&) = delete;
  CaughtStream& operator=(const CaughtStream&) = delete;

  void TakeOver(int stream) const { ::dup2(file_, stream); }

  void Fill(const std::string& contents) const {
    if (::write(file_, contents.data(), contents.size()) != ssize_t(contents.size())) {
      throw std::runtime_error("cannot fill a stream");
    }
    ::lseek(file_, 0, SEEK_SET);
  }

  std::string Contents() const {
    std::string contents;
    std::array<char, 65536> buffer;
    ::lseek(file_, 0, SEEK_SET);
    for (ssize_t n; (n = ::read(file_, buffer.data(), buffer.size())) > 0;) {
      contents.append(buffer.data(), static_cast<std::size_t>(n));
    }
    return contents;
  }

 private:
  int file_;
};

void FlushOwnStreams() {
  std::cout.flush();
  std::cerr.flush();
  std::fflush(nullptr);
}

/// The surroundings of a child.
enum class Memory {
  kCopied,
  kShared,  ///< for a child that becomes another program: no copy of a large process is made
};

/// Returns the output of a child that does this, with standard input, if any, and its end.
Outcome InAChild(const CaughtStream* in, Memory memory, const std::function<void()>& action) {
  const CaughtStream out, err;
  FlushOwnStreams();
  const pid_t child = memory == Memory::kShared ? ::vfork() : ::fork();
  if (child < 0) throw std::runtime_error("fork failed");
  if (child == 0) {
    if (in != nullptr) in->TakeOver(STDIN_FILENO);
    out.TakeOver(STDOUT_FILENO);
    err.TakeOver(STDERR_FILENO);
    rlimit core;
    if (::getrlimit(RLIMIT_CORE, &core) == 0) core.rlim_cur = 0;
    ::setrlimit(RLIMIT_CORE, &core);
    // An exception ends the child, which must not return into the rest of the tests.
    [&]() noexcept { action(); }();
  }
  int status = 0;
  if (::waitpid(child, &status, 0) != child) throw std::runtime_error("waitpid failed");
  return {WIFSIGNALED(status) ? -WTERMSIG(status) : WEXITSTATUS(status), out.Contents(),
          err.Contents()};
}

/// The directory of the running test program. Read at the start, because a test with its own mounts
/// sees another path after the root has changed.
const fs::path kOwnDirectory = fs::read_symlink("/proc/self/exe").parent_path();

/// The program that a process becomes. It is composed before there is a child that shares this
/// memory.
class Image {
 public:
  explicit Image(const ProgramStart& start) : start_(start), command_(start.command) {
    for (const auto& [name, value] : start.env) pairs_.push_back(name + "=" + value);
    arguments_ = Pointers(command_);
    env_ = Pointers(pairs_);
  }

  [[noreturn]] void Become() const {
    constexpr int kCannotStart = 127;
    if (!start_.directory.empty() && ::chdir(start_.directory.c_str()) != 0) ::_exit(kCannotStart);
    ::close_range(STDERR_FILENO + 1, UINT_MAX, CLOSE_RANGE_CLOEXEC);
    if (start_.before) start_.before();
    ::execve(arguments_[0], arguments_.data(), env_.data());
    ::_exit(kCannotStart);
  }

 private:
  static std::vector<char*> Pointers(std::vector<std::string>& texts) {
    std::vector<char*> pointers;
    for (std::string& text : texts) pointers.push_back(text.data());
    pointers.push_back(nullptr);
    return pointers;
  }

  const ProgramStart& start_;
  std::vector<std::string> command_, pairs_;
  std::vector<char*> arguments_, env_;
};

}  // namespace

Outcome Catch(const std::function<void()>& action) {
  const CaughtStream out, err;
  FlushOwnStreams();
  {
    const int old_out = ::fcntl(STDOUT_FILENO, F_DUPFD_CLOEXEC, 3);
    const int old_err = ::fcntl(STDERR_FILENO, F_DUPFD_CLOEXEC, 3);
    const Undo restore([&] {
      FlushOwnStreams();
      ::dup2(old_out, STDOUT_FILENO);
      ::dup2(old_err, STDERR_FILENO);
      ::close(old_out);
      ::close(old_err);
    });
    out.TakeOver(STDOUT_FILENO);
    err.TakeOver(STDERR_FILENO);
    action();
  }
  return {0, out.Contents(), err.Contents()};
}

Outcome RunIsolated(const std::function<int()>& action) {
  return InAChild(nullptr, Memory::kCopied, [&] {
    const int status = action();
    FlushOwnStreams();
    ::_exit(status);
  });
}

Outcome RunProgram(const ProgramStart& start) {
  const CaughtStream in;
  in.Fill(start.input);
  const Image image(start);
  return InAChild(&in, Memory::kShared, [&] { image.Become(); });
}

std::string BuiltProgram(const std::string& name) {
  return kOwnDirectory / name;
}

std::string SourceFile(const std::string& relative) {
  const char* source = std::getenv("KVL_SOURCE_DIR");
  return std::string(source != nullptr ? source : KVL_SOURCE_DIR) + "/" + relative;
}

}  // namespace kvl::test
