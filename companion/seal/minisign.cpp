#include "companion/seal/minisign.h"

#include <errno.h>
#include <signal.h>
#include <sys/wait.h>

#include <filesystem>
#include <stdexcept>
#include <stdlib.h>
#include <system_error>
#include <vector>

#include "companion/names/bounded_text.h"
#include "companion/names/path_below.h"
#include "companion/seal/signature.h"
#include "console/child_process.h"
#include "console/signals.h"
#include "environment/environment.h"
#include "environment/media_names.h"
#include "insio/open_directory.h"

namespace kvl {
namespace {

using KVLInsIO::OpenDirectory;

/// While it lives, a signal that asks this process to end has to wait, unless it is ignored, so
/// that what is made meanwhile can be removed. It is made behind the SignalScope that gives the
/// child its signals. Only for this thread: in others these signals must be blocked.
class Endings {
 public:
  Endings() {
    ::sigemptyset(&endings_);
    for (const int signal : {SIGINT, SIGTERM, SIGHUP}) {
      struct sigaction action = {};
      ::sigaction(signal, nullptr, &action);
      if (action.sa_handler != SIG_IGN) ::sigaddset(&endings_, signal);
    }
    ::sigaddset(&endings_, SIGCHLD);
    ::pthread_sigmask(SIG_BLOCK, &endings_, &before_);
  }
  /// What has been asked for happens here.
  ~Endings() { ::pthread_sigmask(SIG_SETMASK, &before_, nullptr); }
  Endings(const Endings&) = delete;
  Endings& operator=(const Endings&) = delete;

  /// Waits until the child has ended; hands it the first signal, and kills it at the second.
  void WaitForEndOf(pid_t child) const {
    int asked_for = 0;
    while (!HasEnded(child)) {
      const int signal = ::sigwaitinfo(&endings_, nullptr);
      if (signal <= 0 || signal == SIGCHLD) continue;
      ::kill(child, asked_for == 0 ? signal : SIGKILL);
      asked_for = signal;
    }
    if (asked_for != 0) ::raise(asked_for);
  }

 private:
  static bool HasEnded(pid_t child) {
    siginfo_t info = {};
    ::waitid(P_PID, static_cast<id_t>(child), &info, WEXITED | WNOHANG | WNOWAIT);
    return info.si_pid == child;
  }

  sigset_t endings_, before_ = {};
};

/// Runs a line of shell with these arguments, and gives its status.
int RunInShell(const std::string& line, const std::vector<std::string>& arguments,
               const SignalScope& signals, const Endings& endings) {
  std::vector<std::string> command = {"/bin/sh", "-c", line, "sh"};
  command.insert(command.end(), arguments.begin(), arguments.end());
  ChildProcess child;
  if (!child.Start(command, signals)) return kNoExitCode;
  endings.WaitForEndOf(child.Id());
  return child.Wait();
}

/// A directory for one signature.
class Workshop {
 public:
  Workshop() {
    const std::string wanted = GetEnv("TMPDIR"), place = wanted.empty() ? "/tmp" : wanted;
    path_ = PathBelow(place, "kvl-media-XXXXXX");
    if (::mkdtemp(path_.data()) == nullptr) {
      throw std::system_error(errno, std::generic_category(), "no directory to sign in: " + place);
    }
  }
  ~Workshop() {
    std::error_code lost;
    std::filesystem::remove_all(path_, lost);
  }
  Workshop(const Workshop&) = delete;
  Workshop& operator=(const Workshop&) = delete;

  const std::string& Path() const { return path_; }

 private:
  std::string path_;
};

}  // namespace

bool HasMinisign() {
  const SignalScope signals;
  const Endings endings;
  return RunInShell("test -n \"$(command -v minisign)\"", {}, signals, endings) == 0;
}

std::string SignWithMinisign(const std::string& key, const std::string& text) {
  const SignalScope signals;
  const Endings endings;
  const Workshop workshop;
  const OpenDirectory directory(workshop.Path());
  directory.WriteFile(names::kManifest, text, KVLInsIO::FileKind::kPlain);
  // Without a time in the comment, the same signature is made whenever that is.
  const int status =
      RunInShell(R"(exec minisign -S -s "$1" -m "$2" -x "$3" -t "file:media.manifest" >&2)",
                 {key, PathBelow(workshop.Path(), names::kManifest),
                  PathBelow(workshop.Path(), names::kSignature)},
                 signals, endings);
  if (status != 0) {
    throw std::runtime_error("minisign has not signed, status " + std::to_string(status));
  }
  std::string signature = WholeText(directory.File(names::kSignature), kMostOfASignature);
  if (!WhyNoSignature(signature).empty()) {
    throw std::runtime_error("minisign has written something else");
  }
  return signature;
}

}  // namespace kvl
