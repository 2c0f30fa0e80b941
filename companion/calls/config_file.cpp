#include "companion/calls/config_file.h"

#include <CLI/CLI.hpp>
#include <algorithm>
#include <cstring>
#include <set>
#include <sstream>
#include <string>

#include "companion/check/disc_access.h"

namespace kvl {
namespace {

constexpr char kConfig[] = "--config";
constexpr std::size_t kMostOfAConfig = 65'536;

class ConfigFile {
 public:
  ConfigFile(const std::string& path, CLI::App& call) : path_(path), call_(call) {}

  void Run() {
    const FileStart file = ReadStart(path_, kMostOfAConfig + 1);
    if (file.error != 0) Refuse("cannot be read", std::strerror(file.error));
    if (file.bytes.size() > kMostOfAConfig) {
      Refuse("is too long", std::to_string(kMostOfAConfig) + " bytes are allowed");
    }
    std::istringstream text(file.bytes);
    const CLI::ConfigBase format;
    for (const CLI::ConfigItem& item : format.from_config(text)) Take(item, format);
  }

 private:
  [[noreturn]] void Refuse(const std::string& problem, const std::string& detail) const {
    throw CLI::ConfigError(std::string(kConfig) + " " + problem + ": " + path_ + ": " + detail);
  }

  CLI::Option* Find(const CLI::ConfigItem& item) const {
    CLI::Option* option = call_.get_option_no_throw("--" + item.name);
    if (option == nullptr) option = call_.get_option_no_throw(item.name);
    const bool is_own = option != nullptr && item.parents.empty() && !option->check_name(kConfig) &&
                        option != call_.get_help_ptr();
    if (!is_own) {
      Refuse("has an unknown option",
             item.fullname() + "; use the options of make, without --, or PAYLOAD or DIR");
    }
    return option;
  }

  void Take(const CLI::ConfigItem& item, const CLI::Config& format) {
    const bool is_section = item.name == "++" || item.name == "--";
    if (is_section) return;
    CLI::Option* option = Find(item);
    // "#" begins a comment even within quotes, so a quoted text with "#" has lost its closing
    // quote.
    const bool is_plain = std::ranges::none_of(
        item.inputs, [](const std::string& text) { return text.find_first_of("\"'") == 0; });
    const bool is_repeatable = option->get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
    const bool is_another = from_file_.contains(option);
    const bool is_one = item.inputs.size() == 1 && !is_another;
    if (!is_plain || item.inputs.empty() || (!is_one && !is_repeatable)) {
      Refuse("does not give one value for an option",
             item.name + "; give one, put blanks and commas in quotes, and leave # out");
    }
    if (!option->empty() && !is_another) return;
    from_file_.insert(option);
    const bool is_flag = option->get_expected_min() == 0;
    if (is_flag) {
      option->add_result(option->get_flag_value(item.name, format.to_flag(item)));
    } else {
      option->add_result(item.inputs);
    }
  }

  const std::string& path_;
  CLI::App& call_;
  std::set<CLI::Option*> from_file_;
};

}  // namespace

void AddConfigFile(CLI::App& call) {
  call.add_option_function<std::string>(
          kConfig, [&call](const std::string& path) { ConfigFile(path, call).Run(); },
          "File with options as lines NAME = VALUE; an option in the call overrides the file")
      ->type_name("FILE");
}

}  // namespace kvl
