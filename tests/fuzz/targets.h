// The fuzz targets: each turns any bytes into an input and checks the laws for it. It throws an
// exception if a law is broken.
//
// fuzz_main.cpp makes a fuzzer of them. The test program runs each on the inputs in corpus/<name>/.
#pragma once

#include "tests/support/test.h"

namespace kvl::test {

using FuzzFunction = void (*)(const std::uint8_t* data, std::size_t size);

// In memory:
void FuzzCommandLine(const std::uint8_t* data, std::size_t size);
void FuzzPath(const std::uint8_t* data, std::size_t size);
void FuzzSplit(const std::uint8_t* data, std::size_t size);
void FuzzText(const std::uint8_t* data, std::size_t size);
void FuzzStartScript(const std::uint8_t* data, std::size_t size);
void FuzzProgramHead(const std::uint8_t* data, std::size_t size);
void FuzzVolumeSize(const std::uint8_t* data, std::size_t size);
void FuzzPlainText(const std::uint8_t* data, std::size_t size);
void FuzzReports(const std::uint8_t* data, std::size_t size);
void FuzzFileList(const std::uint8_t* data, std::size_t size);
void FuzzManifest(const std::uint8_t* data, std::size_t size);
void FuzzListedPath(const std::uint8_t* data, std::size_t size);
void FuzzSignature(const std::uint8_t* data, std::size_t size);
// With files, in a directory below $TMPDIR:
void FuzzBinary(const std::uint8_t* data, std::size_t size);
void FuzzMarker(const std::uint8_t* data, std::size_t size);
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
    {"start_script", FuzzStartScript},
    {"program_head", FuzzProgramHead},
    {"volume_size", FuzzVolumeSize},
    {"plain_text", FuzzPlainText},
    {"reports", FuzzReports},
    {"file_list", FuzzFileList},
    {"manifest", FuzzManifest},
    {"listed_path", FuzzListedPath},
    {"signature", FuzzSignature},
    {"binary", FuzzBinary},
    {"marker", FuzzMarker},
    {"replace_in_lines", FuzzReplaceInLines},
    {"scan", FuzzScan},
};

}  // namespace kvl::test
