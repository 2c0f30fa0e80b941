// Findings: what is wrong with a media, or will be one day.
#pragma once

#include <cstddef>
#include <map>
#include <string>
#include <utility>
#include <vector>

namespace kvl {

enum class Severity {
  kWarning,  ///< the launcher gets on with it, but somebody will not
  kError,    ///< the start script, the launcher or the installer would not do its work
};

struct Finding {
  std::string code;  ///< short, stable, for programs
  Severity severity = Severity::kWarning;
  std::string path;    ///< what it is about; may be empty
  std::string text;    ///< what is wrong
  std::string remedy;  ///< what to do about it
};

class Findings {
 public:
  /// So many of one code are kept, the others are counted: a tree may hold millions of bad files.
  static constexpr std::size_t kMostOfOneCode = 100;

  /// One that is about a path that has a finding of that code already only adds to its severity.
  void Add(Finding finding);

  const std::vector<Finding>& All() const { return all_; }
  /// True when one of that code about that path has been kept.
  bool Has(const std::string& code, const std::string& path) const {
    return index_.contains({code, path});
  }
  /// How many of a code were not kept; without those of which all were.
  const std::map<std::string, std::size_t>& NotKept() const { return not_kept_; }
  /// Those that were not kept included.
  std::size_t Count() const;

 private:
  std::vector<Finding> all_;
  std::map<std::pair<std::string, std::string>, std::size_t> index_;  // by code and path
  std::map<std::string, std::size_t> kept_;
  std::map<std::string, std::size_t> not_kept_;
};

}  // namespace kvl
