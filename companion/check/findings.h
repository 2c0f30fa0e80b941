// Findings: what is wrong with a media, or will be one day.
#pragma once

#include <cstddef>
#include <initializer_list>
#include <map>
#include <string>
#include <string_view>
#include <utility>
#include <vector>

#include "companion/check/finding_catalogue.h"

namespace kvl {

struct Finding {
  FindingKind kind;
  Severity severity;
  std::string path;  ///< what it is about; may be empty
  std::string text;  ///< of the catalogue, with its arguments

  std::string_view Code() const { return RowOf(kind).code; }
  std::string_view Remedy() const { return RowOf(kind).remedy; }
};

class Findings {
 public:
  /// So many of one code are kept, the others are counted: a tree may hold millions of bad files.
  static constexpr std::size_t kMostOfOneCode = 100;

  /// For the words in angle brackets of a text.
  using Arguments = std::initializer_list<std::string_view>;

  /// One that is about a path that has a finding of that code already only adds to its severity.
  void Add(FindingKind kind, Severity severity, const std::string& path, Arguments arguments = {});
  /// The same with the severity that the catalogue has. Throws std::bad_optional_access for a kind of
  /// which it has none.
  void Add(FindingKind kind, const std::string& path, Arguments arguments = {});

  const std::vector<Finding>& All() const { return all_; }
  /// True when one of that kind's code about that path has been kept.
  bool Has(FindingKind kind, const std::string& path) const {
    return index_.contains({RowOf(kind).code, path});
  }
  /// How often an error was added, be it known already or not kept.
  std::size_t ErrorsAdded() const { return errors_added_; }
  /// How many of a code were not kept; without those of which all were.
  const std::map<std::string_view, std::size_t>& NotKept() const { return not_kept_; }
  /// Those that were not kept included.
  std::size_t Count() const;

 private:
  std::size_t errors_added_ = 0;
  std::vector<Finding> all_;
  std::map<std::pair<std::string_view, std::string>, std::size_t> index_;  // by code and path
  std::map<std::string_view, std::size_t> kept_;
  std::map<std::string_view, std::size_t> not_kept_;
};

}  // namespace kvl
