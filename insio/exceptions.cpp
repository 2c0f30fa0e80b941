#include "insio/exceptions.h"

#include <cstring>

namespace KVLInsIO {
namespace {

std::string WithErrorText(const std::string& message, int error_number) {
  return message + " - " + std::strerror(error_number) + "\n";
}

}  // namespace

KVLInsException::KVLInsException(const std::string& message) : std::runtime_error(message + "\n") {}

KVLInsException::KVLInsException(const std::string& message, int error_number)
    : std::runtime_error(WithErrorText(message, error_number)) {}

KVLInsExceptionErrno::KVLInsExceptionErrno(const std::string& message, int error_number)
    : std::runtime_error(WithErrorText(message, error_number)) {}

}  // namespace KVLInsIO
