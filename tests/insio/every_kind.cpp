#include "tests/insio/every_kind.h"

#include "tests/insio/surroundings.h"

namespace kvl::test {

const std::vector<Kind> kEveryKind = {
    {"dangling_link", 6}, {"directory", 1},    {"file", 2},         {"link_to_directory", 5},
    {"link_to_file", 6},  {"link_to_link", 5}, {"link_to_pipe", 6}, {"link_to_self", 6},
    {"pipe", 2},          {"socket", 2},
};

EveryKind::EveryKind() {
  directory_.Link("dangling_link", "nowhere");
  directory_.Write("directory/inside", "inside");
  directory_.Write("file", "file");
  directory_.Link("link_to_directory", "directory");
  directory_.Link("link_to_file", "file");
  directory_.Link("link_to_link", "link_to_directory");
  directory_.Link("link_to_pipe", "pipe");
  directory_.Link("link_to_self", "link_to_self");
  directory_.Pipe("pipe");
  MakeSocket(directory_, "socket");
}

}  // namespace kvl::test
