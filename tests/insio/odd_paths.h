// Paths and names on which a careless implementation fails. The laws hold for all of them.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

inline const std::vector<std::string> kOddPaths = {
    // slashes and dots
    "", "/", "//", "///////", ".", "..", "/.", "/..", "./", "a", "/a", "a/", "/a/", "//a", "/abc",
    "a//b///", "/a/b/", "/m/1/x", "a/./b/../c",
    // backslashes
    "\\", "\\\\", "\\\\server\\share\\", "X:\\dir\\\\sub\\", "C:/dir", "/\\/\\/",
    // characters with a meaning elsewhere, or with none anywhere
    "a;b:c", " ", " / ", "a b/c d", "\t\n/\r", "*?[a-z]~$HOME", "-rf", "\xff\xfe/\x80",
    std::string("nul\0byte/x", 10), std::string(300, 'n'), std::string(5000, '/'),
    // quotes
    "\"", "'", "\"\"", "''", "'''", "\"\"\"", "\"/a/\"", "'/a/'", "\"a'", "'a\"", "\"\"a\"\"",
    "'\"a\"'", "\"a\"/", "/\"a\"", "\"\\\"", "'a'/'b'", "'a'/x", "'\\a\\'"};

/// Names that an entry of a directory can have.
inline const std::vector<std::string> kOddNames = {
    // plain at a second look
    " ", "...", ".hidden", "-rf", "a b", "tab\tline\nfeed", "\n", "*?[a-z]~$HOME", "X:", ";",
    "\xff\xfe\x80",
    // quotes
    "'quoted'", "\"quoted\"", "'", "\"", "''", "\"\"",
    // backslashes
    "\\", "back\\slash", "\\\\two\\", "\\.", "..\\x",
    // as long as a name can be
    std::string(255, 'n'), std::string(255, '\\')};

}  // namespace kvl::test
