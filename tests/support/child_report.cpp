#include "tests/support/child_report.h"

namespace kvl::test {

ChildReport ReadReport(const std::string& path) {
  ChildReport report;
  std::ifstream file(path, std::ios::binary);
  report.started = file.is_open();
  for (std::string record; std::getline(file, record, '\0');) {
    const std::size_t equals = record.find('=');
    const std::string name = record.substr(0, equals), value = record.substr(equals + 1);
    if (name == "argument") {
      report.arguments.push_back(value);
    } else if (name == "directory") {
      report.directory = value;
    } else if (name == "variable") {
      const std::size_t end = value.find('=');
      report.env.emplace(value.substr(0, end), value.substr(end + 1));
    } else {
      report.facts.emplace(name, value);
    }
  }
  return report;
}

}  // namespace kvl::test
