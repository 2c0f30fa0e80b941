/* An installer that prints its arguments and variables, one per line, and ends with status 7. It is in
 * C so that any C library serves to build it. */
#include <stdio.h>

extern char **environ;

int main(int argc, char **argv) {
  for (int i = 0; i < argc; ++i) printf("argument %s\n", argv[i]);
  for (char **variable = environ; *variable != NULL; ++variable) printf("variable %s\n", *variable);
  return fflush(stdout) == 0 ? 7 : 8;
}
