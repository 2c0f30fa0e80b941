// The fuzz targets: each takes any bytes, makes an input of them, and checks the laws for it. A broken
// law is an exception.
//
// Each is a fuzzer of its own (fuzz_main.cpp), and the test program runs all of them on the inputs
// stored in corpus/<name>/.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

using FuzzFunction = void (*)(const std::uint8_t* data, std::size_t size);

// In memory:
void FuzzCommandLine(const std::uint8_t* data, std::size_t size);
void FuzzPath(const std::uint8_t* data, std::size_t size);
void FuzzSplit(const std::uint8_t* data, std::size_t size);
void FuzzText(const std::uint8_t* data, std::size_t size);
// With files, in a directory below $TMPDIR:
void FuzzReplaceInLines(const std::uint8_t* data, std::size_t size);
void FuzzScan(const std::uint8_t* data, std::size_t size);

struct FuzzTarget {
  std::string name;
  FuzzFunction run;
};

inline const std::vector<FuzzTarget> kFuzzTargets = {
    {"command_line", FuzzCommandLine},
    {"path", FuzzPath},
    {"split", FuzzSplit},
    {"text", FuzzText},
    {"replace_in_lines", FuzzReplaceInLines},
    {"scan", FuzzScan},
};

}  // namespace kvl::test
