/* An installer that says all that it was given, one thing a line, and ends with status 7. In C, so that
 * it can be built with any C library. */
#include <stdio.h>

extern char **environ;

int main(int argc, char **argv) {
  for (int i = 0; i < argc; ++i) printf("argument %s\n", argv[i]);
  for (char **variable = environ; *variable != NULL; ++variable) printf("variable %s\n", *variable);
  return fflush(stdout) == 0 ? 7 : 8;
}
