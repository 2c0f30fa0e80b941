// What a call says when it is ended by a signal.
#pragma once

#include <string>

namespace kvl {

/// While it lives, a signal that asks this process to end (SIGINT, SIGTERM, SIGHUP) is answered with
/// these words on standard error, if the file `mark` is there; then it ends the process as ever. A
/// signal that the caller ignores stays ignored. One such object at a time.
class LastWords {
 public:
  LastWords(std::string words, std::string mark);
  ~LastWords();
  LastWords(const LastWords&) = delete;
  LastWords& operator=(const LastWords&) = delete;
};

}  // namespace kvl
