// EveryKind: a directory with one entry of every kind.
#pragma once

#include "tests/insio/surroundings.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

struct Kind {
  std::string name;
  int type;  ///< 1 directory, 2 file, 4 link, as a sum
};

/// The entries' names, sorted, with the types that the library must give them.
inline const std::vector<Kind> kEveryKind = {
    {"dangling_link", 6}, {"directory", 1},    {"file", 2},         {"link_to_directory", 5},
    {"link_to_file", 6},  {"link_to_link", 5}, {"link_to_pipe", 6}, {"link_to_self", 6},
    {"pipe", 2},          {"socket", 2},
};

class EveryKind : public TestDirectory {
 public:
  EveryKind() {
    Link("dangling_link", "nowhere");
    Write("directory/inside", "inside");
    Write("file", "file");
    Link("link_to_directory", "directory");
    Link("link_to_file", "file");
    Link("link_to_link", "link_to_directory");
    Link("link_to_pipe", "pipe");
    Link("link_to_self", "link_to_self");
    Pipe("pipe");
    MakeSocket(*this, "socket");
  }

 private:
  ScopedUmask umask_{022};
};

}  // namespace kvl::test
