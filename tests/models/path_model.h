// What paths are, once more: a list of names and whether it begins at the root.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

struct PathModel {
  bool is_absolute = false;
  std::vector<std::string> names = {};

  std::string Text() const;
  std::string Root() const { return is_absolute ? "/" : ""; }
  /// Without the first character of the first name, if absolute.
  std::string RelativePart() const;
  std::string FileName() const;
  PathModel Parent() const;
};

/// One pair of enclosing quotes, no more, is dropped; both kinds of slashes separate.
PathModel ModelOfPath(std::string_view typed);

/// Both are paths' texts, so normalised already.
std::string ModelOfMakeRelative(const PathModel& from, const PathModel& to);

/// Every "." and every ".." behind a name resolved, as text.
PathModel Resolved(const PathModel& path);

}  // namespace kvl::test
