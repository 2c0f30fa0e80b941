// The laws of path values and path texts (insio/path.h, insio/path_text.h).
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// Of one path as a user may have typed it.
void CheckPathLaws(const std::string& typed);

/// Of two of them: joining, combining, comparing, leading from one to the other.
void CheckPathPairLaws(const std::string& one, const std::string& other);

}  // namespace kvl::test
