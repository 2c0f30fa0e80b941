// The laws of the text helpers (console/text.h), of the names and contents of markers
// (media/marker.h) and of replacing in files (insio/replace_in_lines.h).
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

/// Of a text that may begin with a number.
void CheckNumberLaws(const std::string& text);

/// Of a text read line by line.
void CheckReadLineLaws(const std::string& contents);

void CheckReplaceAllLaws(const std::string& text, const std::string& what, const std::string& with,
                         std::size_t start);

/// Of a file with these contents, which lies in `directory` while it is looked at.
void CheckReplaceInLinesLaws(const std::string& directory, const std::string& contents,
                             const std::string& what, const std::string& with);

/// Of the same as a marker, and as "volumes.txt".
void CheckMarkerLaws(const std::string& directory, const std::string& contents);

}  // namespace kvl::test
