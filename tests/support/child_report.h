// The fake installer's report about its start.
#pragma once

#include "tests/support/scoped_env.h"
#include "tests/support/test.h"

namespace kvl::test {

struct ChildReport {
  bool started = false;                ///< false when there is no report: the child never ran
  std::vector<std::string> arguments;  ///< its own name first
  std::string directory;               ///< its working directory
  Environment env;                     ///< its whole environment
  /// The other facts by name: umask, process, parent, group, session, user, descriptors, SIGPIPE,
  /// SIGXFSZ, SIGCHLD, SIGINT, SIGQUIT, blocked (see fake_installer.cpp).
  std::map<std::string, std::string> facts;
};

ChildReport ReadReport(const std::string& path);

}  // namespace kvl::test
