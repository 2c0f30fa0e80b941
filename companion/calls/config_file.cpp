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
    if (file.error != 0) Refuse(std::string("cannot be read: ") + std::strerror(file.error));
    if (file.bytes.size() > kMostOfAConfig) Refuse("is too long");
    std::istringstream text(file.bytes);
    const CLI::ConfigBase format;
    for (const CLI::ConfigItem& item : format.from_config(text)) Take(item, format);
  }

 private:
  [[noreturn]] void Refuse(const std::string& why) const {
    throw CLI::ConfigError(std::string(kConfig) + ": " + path_ + " " + why);
  }

  CLI::Option* Find(const CLI::ConfigItem& item) const {
    CLI::Option* option = call_.get_option_no_throw("--" + item.name);
    if (option == nullptr) option = call_.get_option_no_throw(item.name);
    const bool is_own = option != nullptr && item.parents.empty() && !option->check_name(kConfig) &&
                        option != call_.get_help_ptr();
    if (!is_own) Refuse("has a line about no option: " + item.fullname());
    return option;
  }

  void Take(const CLI::ConfigItem& item, const CLI::Config& format) {
    const bool is_section = item.name == "++" || item.name == "--";
    if (is_section) return;
    CLI::Option* option = Find(item);
    // A quoted text with "#" in it has lost its end.
    const bool is_plain = std::ranges::none_of(
        item.inputs, [](const std::string& text) { return text.find_first_of("\"'") == 0; });
    const bool is_repeatable = option->get_multi_option_policy() == CLI::MultiOptionPolicy::TakeAll;
    const bool is_another = from_file_.contains(option);
    const bool is_one = item.inputs.size() == 1 && !is_another;
    if (!is_plain || item.inputs.empty() || (!is_one && !is_repeatable)) {
      Refuse("has not one value for this (blanks and commas need quotes, \"#\" is none): " +
             item.name);
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
          "File with options, as lines NAME = VALUE; those of the call count instead")
      ->type_name("FILE");
}

}  // namespace kvl
