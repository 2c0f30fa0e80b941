#include "companion/calls/console_output.h"

#include <unistd.h>

#include <cstdio>

#include "companion/names/plain_text.h"
#include "console/text.h"

namespace kvl {

std::string LineForPeople(const std::string& text) {
  return "kvl-media: " + ToOneLine(text) + "\n";
}

int BadCall(const std::string& text) {
  std::fputs(LineForPeople(text).c_str(), stderr);
  return kBadCall;
}

std::string RefuseEmpty(const std::string& value) {
  return value.empty() ? "must not be empty" : "";
}

bool Write(const std::string& text) {
  const bool is_written = std::fwrite(text.data(), 1, text.size(), stdout) == text.size();
  const bool is_flushed = std::fflush(stdout) == 0;
  return is_written && is_flushed && ::close(::dup(STDOUT_FILENO)) == 0;
}

std::string Quoted(const std::string& path) {
  std::string text = ToOneLine(path);
  const bool is_plain = text == path;
  ReplaceAll(text, "'", is_plain ? "'\\''" : "\\'", 0);
  return (is_plain ? "'" : "$'") + text + "'";
}

}  // namespace kvl
