// The entry point of kvl-media.
#include <algorithm>

#include "companion/program.h"

int main(int argc, char** argv) {
  return kvl::RunKvlMedia({argv + std::min(argc, 1), argv + argc});
}
