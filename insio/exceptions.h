// The two exceptions by which the operations of KVLInsIO report failures.
//
// Each carries one finished message for people and nothing else: no error code and no separate
// path. Catch them as std::runtime_error (or std::exception) and print what(); it ends in exactly
// one line feed, so add none.
#pragma once

#include <stdexcept>
#include <string>

namespace KVLInsIO {

/// A refusal of the library itself, or a failed system call.
class KVLInsException : public std::runtime_error {
 public:
  /// what() is: message, line feed.
  explicit KVLInsException(const std::string& message);

  /// what() is: message, " - ", the text of strerror(error_number), line feed.
  /// `error_number` is the value of errno, saved right after the failing call.
  KVLInsException(const std::string& message, int error_number);
};

/// A failed system call on the times, the mode or the size of a file, or on the data of a copy. On
/// purpose it does not derive from KVLInsException, so a handler for that class does not catch it.
class KVLInsExceptionErrno : public std::runtime_error {
 public:
  /// what() is: message, " - ", the text of strerror(error_number), line feed.
  KVLInsExceptionErrno(const std::string& message, int error_number);
};

}  // namespace KVLInsIO
