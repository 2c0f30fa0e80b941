/* The smallest possible launcher: starts the program that its first argument names, with the other
   arguments, waits for it and returns its exit code. */
#include <sys/wait.h>
#include <unistd.h>

int main(int argc, char** argv) {
  int status;
  pid_t child;
  if (argc < 2) return 252;
  child = fork();
  if (child == 0) {
    execv(argv[1], argv + 1);
    _exit(251);
  }
  if (waitpid(child, &status, 0) != child || !WIFEXITED(status)) return 255;
  return WEXITSTATUS(status);
}
