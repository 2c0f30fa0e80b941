// Runs programs in turn, A B A B, and says how long each took: what else happens on the machine then
// falls on all of them alike.
//
//   take_turns ROUNDS CLEAN_UP versus COMMAND... [versus COMMAND...]...
//
// One round of every command is run first and not counted. In the words of a command "{}" stands for
// the number of the run, which no other run has. After each run CLEAN_UP is given to the shell, with
// that number for "{}", unless it is empty; that is not timed. For each run a line is printed: the
// command's number, the time in nanoseconds, the most resident memory in KiB. A command that does not
// end with 0 ends the whole with status 1; a call that makes no sense ends it with 2.
#include <fcntl.h>
#include <sys/resource.h>
#include <sys/wait.h>
#include <unistd.h>

#include <chrono>
#include <cstdint>
#include <cstdio>
#include <cstdlib>
#include <spawn.h>
#include <string>
#include <string_view>
#include <vector>

namespace {

using Words = std::vector<std::string>;

struct Run {
  std::int64_t nanoseconds = 0;
  long memory = 0;
  int status = 0;
};

std::string WithNumber(std::string word, int number) {
  constexpr std::string_view kPlace = "{}";
  const std::size_t at = word.find(kPlace);
  if (at != std::string::npos) word.replace(at, kPlace.size(), std::to_string(number));
  return word;
}

/// Runs a command with its output thrown away.
Run RunOnce(const Words& command, int number) {
  Words words;
  for (const std::string& word : command) words.push_back(WithNumber(word, number));
  std::vector<char*> arguments;
  for (std::string& word : words) arguments.push_back(word.data());
  arguments.push_back(nullptr);

  posix_spawn_file_actions_t actions;
  ::posix_spawn_file_actions_init(&actions);
  ::posix_spawn_file_actions_addopen(&actions, STDOUT_FILENO, "/dev/null", O_WRONLY, 0);
  ::posix_spawn_file_actions_addopen(&actions, STDERR_FILENO, "/dev/null", O_WRONLY, 0);
  Run run;
  pid_t child = -1;
  const auto begin = std::chrono::steady_clock::now();
  if (::posix_spawnp(&child, arguments[0], &actions, nullptr, arguments.data(), environ) != 0) {
    run.status = -1;
  } else {
    rusage usage = {};
    ::wait4(child, &run.status, 0, &usage);
    run.memory = usage.ru_maxrss;
  }
  run.nanoseconds = (std::chrono::steady_clock::now() - begin).count();
  ::posix_spawn_file_actions_destroy(&actions);
  return run;
}

std::vector<Words> CommandsIn(char** first, char** end) {
  std::vector<Words> commands;
  for (; first != end; ++first) {
    if (std::string_view(*first) == "versus") {
      commands.emplace_back();
    } else if (!commands.empty()) {
      commands.back().emplace_back(*first);
    }
  }
  return commands;
}

}  // namespace

int main(int argc, char** argv) {
  if (argc < 5) return 2;
  const int rounds = std::atoi(argv[1]);
  const std::string clean_up = argv[2];
  const std::vector<Words> commands = CommandsIn(argv + 3, argv + argc);
  int number = 0;
  for (int round = 0; round <= rounds; ++round) {
    for (std::size_t i = 0; i < commands.size(); ++i) {
      if (commands[i].empty()) return 2;
      const Run run = RunOnce(commands[i], ++number);
      if (run.status != 0) {
        std::fprintf(stderr, "%s: ended with wait status %d\n", commands[i][0].c_str(), run.status);
        return 1;
      }
      if (round > 0)
        std::printf("%zu %lld %ld\n", i, static_cast<long long>(run.nanoseconds), run.memory);
      if (!clean_up.empty() && RunOnce({"/bin/sh", "-c", clean_up}, number).status != 0) return 1;
    }
  }
  return 0;
}
