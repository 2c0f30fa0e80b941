// Paths and names that a quick implementation stumbles over, for laws that hold for all of them.
#pragma once

#include <string>
#include <vector>

namespace kvl::test {

inline const std::vector<std::string> kOddPaths = {
    "",
    "/",
    "//",
    "///////",
    ".",
    "..",
    "/.",
    "/..",
    "./",
    "a",
    "/a",
    "a/",
    "/a/",
    "//a",
    "/abc",
    "a//b///",
    "/a/b/",
    "/m/1/x",
    "a/./b/../c",
    "\\",
    "\\\\",
    "\\\\server\\share\\",
    "X:\\dir\\\\sub\\",
    "C:/dir",
    "/\\/\\/",
    "a;b:c",
    " ",
    " / ",
    "a b/c d",
    "\t\n/\r",
    "*?[a-z]~$HOME",
    "-rf",
    "\xff\xfe/\x80",
    std::string("nul\0byte/x", 10),
    std::string(300, 'n'),
    std::string(5000, '/'),
    "\"",
    "'",
    "\"\"",
    "''",
    "'''",
    "\"\"\"",
    "\"/a/\"",
    "'/a/'",
    "\"a'",
    "'a\"",
    "\"\"a\"\"",
    "'\"a\"'",
    "\"a\"/",
    "/\"a\"",
    "\"\\\"",
    "'a'/'b'",
};

/// Names that an entry of a directory can have. None with a backslash: where paths are normalised
/// it is a separator.
inline const std::vector<std::string> kOddNames = {
    " ",        "...",           ".hidden",
    "-rf",      "a b",           "tab\tline\nfeed",
    "'quoted'", "\"quoted\"",    "'",
    "\"",       "*?[a-z]~$HOME", "X:",
    ";",        "\xff\xfe\x80",  std::string(255, 'n'),
};

}  // namespace kvl::test
