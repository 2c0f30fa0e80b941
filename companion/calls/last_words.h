// What a call says when a signal ends it.
#pragma once

#include <string>

namespace kvl {

/// While this object exists, SIGINT, SIGTERM and SIGHUP write `words` to standard error if the file
/// `mark` exists, and then end the process as they do by default. A signal that the caller ignores
/// stays ignored. Only one such object may exist at a time.
class LastWords {
 public:
  LastWords(std::string words, std::string mark);
  ~LastWords();
  LastWords(const LastWords&) = delete;
  LastWords& operator=(const LastWords&) = delete;
};

}  // namespace kvl
