// A stand-in for a real installer. It writes down what it was started with, and ends as its
// variables say.
//
//   FAKE_REPORT  the file to write: records that end in a NUL byte, each "name=value"
//   FAKE_WAIT    a pipe to open afterwards; it waits until the other end is closed
//   FAKE_KILL    the numbers of signals, each behind a blank, to send to its parent afterwards
//   FAKE_EXIT    the exit code, by default 0
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

std::string HandlerOf(int signal) {
  struct sigaction action;
  ::sigaction(signal, nullptr, &action);
  return action.sa_handler == SIG_IGN   ? "ignored"
         : action.sa_handler == SIG_DFL ? "default"
                                        : "own";
}

std::string OpenDescriptors() {
  std::string numbers;
  for (int number = 0; number < 256; ++number) {
    struct stat status;
    if (::fstat(number, &status) == 0) numbers += std::to_string(number) + " ";
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

std::string Records(int argc, char** argv) {
  std::string records;
  const auto add = [&](const std::string& name, const std::string& value) {
    records.append(name).append("=").append(value).push_back('\0');
  };
  for (int i = 0; i < argc; ++i) add("argument", argv[i]);
  std::error_code ignored;
  add("directory", std::filesystem::current_path(ignored).string());
  for (char** entry = environ; *entry != nullptr; ++entry) add("variable", *entry);

  const mode_t mask = ::umask(0);
  ::umask(mask);
  add("umask", std::to_string(mask));
  add("process", std::to_string(::getpid()));
  add("parent", std::to_string(::getppid()));
  add("group", std::to_string(::getpgrp()));
  add("session", std::to_string(::getsid(0)));
  add("user", std::to_string(::getuid()) + " " + std::to_string(::geteuid()));
  add("descriptors", OpenDescriptors());
  add("SIGPIPE", HandlerOf(SIGPIPE));
  add("SIGXFSZ", HandlerOf(SIGXFSZ));
  add("SIGCHLD", HandlerOf(SIGCHLD));
  add("SIGINT", HandlerOf(SIGINT));
  add("SIGQUIT", HandlerOf(SIGQUIT));
  add("blocked", BlockedSignals());
  return records;
}

void Write(const char* path, const std::string& text) {
  std::FILE* file = std::fopen(path, "we");
  if (file == nullptr) std::_Exit(249);
  std::fwrite(text.data(), 1, text.size(), file);
  std::fclose(file);
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
  if (const char* path = std::getenv("FAKE_REPORT")) Write(path, Records(argc, argv));
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
