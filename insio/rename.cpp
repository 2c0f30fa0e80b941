#include "insio/rename.h"

#include <errno.h>

#include <cstdio>

#include "insio/exceptions.h"

namespace KVLInsIO {

void Rename(const std::string& source, const std::string& destination) {
  if (source.empty()) throw KVLInsException("Rename - empty source path");
  if (destination.empty()) throw KVLInsException("Rename - empty destination path");
  if (::rename(source.c_str(), destination.c_str()) != 0) {
    const int error = errno;
    throw KVLInsException("rename - " + source + " to " + destination, error);
  }
}

}  // namespace KVLInsIO
