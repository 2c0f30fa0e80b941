// A stand-in for a real installer: it writes down what it was started with and ends as it is told.
//
//   FAKE_REPORT  where to write: records ended by a NUL byte, "name=value" each
//   FAKE_WAIT    a pipe to be opened after that, and waited for until its other end is closed
//   FAKE_KILL    numbers of signals, each behind a blank, to be sent to its parent after that
//   FAKE_EXIT    the exit code, 0 when not set
//   FAKE_SIGNAL  the number of a signal to die by instead
//   FAKE_PRINT   a text for standard output
#include <signal.h>
#include <sys/stat.h>
#include <unistd.h>

#include <cstdio>
#include <cstdlib>
#include <filesystem>
#include <string>

namespace {

class Record {
 public:
  explicit Record(const char* path) : file_(std::fopen(path, "we")) {
    if (file_ == nullptr) std::_Exit(249);
  }
  ~Record() { std::fclose(file_); }
  Record(const Record&) = delete;
  Record& operator=(const Record&) = delete;

  void Add(const std::string& name, const std::string& value) {
    const std::string text = name + "=" + value;
    std::fwrite(text.c_str(), 1, text.size() + 1, file_);
  }

  int Descriptor() const { return ::fileno(file_); }

 private:
  std::FILE* file_;
};

std::string HandlerOf(int signal) {
  struct sigaction action;
  ::sigaction(signal, nullptr, &action);
  return action.sa_handler == SIG_IGN   ? "ignored"
         : action.sa_handler == SIG_DFL ? "default"
                                        : "own";
}

std::string OpenDescriptors(int own) {
  std::string numbers;
  for (int number = 0; number < 256; ++number) {
    struct stat status;
    if (number != own && ::fstat(number, &status) == 0) numbers += std::to_string(number) + " ";
  }
  return numbers;
}

std::string BlockedSignals() {
  sigset_t blocked;
  ::sigprocmask(SIG_BLOCK, nullptr, &blocked);
  std::string numbers;
  for (int signal = 1; signal < 32; ++signal) {
    if (::sigismember(&blocked, signal) == 1) numbers += std::to_string(signal) + " ";
  }
  return numbers;
}

void Report(const char* path, int argc, char** argv) {
  Record record(path);
  for (int i = 0; i < argc; ++i) record.Add("argument", argv[i]);
  std::error_code ignored;
  record.Add("directory", std::filesystem::current_path(ignored).string());
  for (char** entry = environ; *entry != nullptr; ++entry) record.Add("variable", *entry);

  const mode_t mask = ::umask(0);
  ::umask(mask);
  record.Add("umask", std::to_string(mask));
  record.Add("process", std::to_string(::getpid()));
  record.Add("parent", std::to_string(::getppid()));
  record.Add("group", std::to_string(::getpgrp()));
  record.Add("session", std::to_string(::getsid(0)));
  record.Add("user", std::to_string(::getuid()) + " " + std::to_string(::geteuid()));
  record.Add("descriptors", OpenDescriptors(record.Descriptor()));
  record.Add("SIGPIPE", HandlerOf(SIGPIPE));
  record.Add("SIGXFSZ", HandlerOf(SIGXFSZ));
  record.Add("SIGCHLD", HandlerOf(SIGCHLD));
  record.Add("SIGINT", HandlerOf(SIGINT));
  record.Add("SIGQUIT", HandlerOf(SIGQUIT));
  record.Add("blocked", BlockedSignals());
}

void WaitForTheEndOf(const char* path) {
  std::FILE* pipe = std::fopen(path, "re");
  if (pipe == nullptr) std::_Exit(248);
  while (std::fgetc(pipe) != EOF) {
  }
  std::fclose(pipe);
}

void SendToTheParent(const char* numbers) {
  for (char* rest = nullptr; *numbers != '\0'; numbers = rest) {
    ::kill(::getppid(), static_cast<int>(std::strtol(numbers, &rest, 10)));
  }
}

}  // namespace

int main(int argc, char** argv) {
  if (const char* path = std::getenv("FAKE_REPORT")) Report(path, argc, argv);
  if (const char* path = std::getenv("FAKE_WAIT")) WaitForTheEndOf(path);
  if (const char* numbers = std::getenv("FAKE_KILL")) SendToTheParent(numbers);
  if (const char* text = std::getenv("FAKE_PRINT")) std::fputs(text, stdout);
  std::fflush(stdout);
  if (const char* number = std::getenv("FAKE_SIGNAL")) {
    ::signal(std::atoi(number), SIG_DFL);
    ::raise(std::atoi(number));
  }
  const char* code = std::getenv("FAKE_EXIT");
  return code == nullptr ? 0 : std::atoi(code);
}
