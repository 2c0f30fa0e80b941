// EveryKind: a directory with one entry of every kind.
#pragma once

#include "tests/support/scoped_umask.h"
#include "tests/support/test.h"
#include "tests/support/test_directory.h"

namespace kvl::test {

struct Kind {
  std::string name;
  int type;  ///< 1 directory, 2 file, 4 link, as a sum
};

/// The entries' names, sorted, with the types that the library has to give them.
extern const std::vector<Kind> kEveryKind;

class EveryKind {
 public:
  EveryKind();

  const TestDirectory& Directory() const { return directory_; }
  const std::string& Path() const { return directory_.Path(); }
  std::string Path(const std::string& name) const { return directory_.Path(name); }

 private:
  ScopedUmask umask_{022};
  TestDirectory directory_;
};

}  // namespace kvl::test
