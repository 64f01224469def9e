// Sorting of arguments by the rules of a command.

#include "common/command_line.hpp"

#include <algorithm>

namespace dravik::tools {

bool command_line::parse(std::span<const char *const> arguments, std::span<const option_rule> rules,
                         size_t own_operands, std::string &error) {
  while (!arguments.empty()) {
    const std::string_view argument = arguments.front();
    const bool is_end = argument == "--", is_option = argument.starts_with('-') && argument.size() > 1;
    if (is_end || (!is_option && operands_.size() == own_operands)) {
      operands_.insert(operands_.end(), arguments.begin() + (is_end ? 1 : 0), arguments.end());
      return true;
    }
    if (is_option) {
      if (!accept_option(arguments, rules, error))
        return false;
      continue;
    }
    operands_.emplace_back(argument);
    arguments = arguments.subspan(1);
  }
  return true;
}

bool command_line::accept_option(std::span<const char *const> &arguments, std::span<const option_rule> rules,
                                 std::string &error) {
  const std::string_view argument = arguments.front();
  arguments = arguments.subspan(1);
  const std::string name{argument.substr(0, argument.find('='))};
  const bool has_value = name.size() < argument.size();
  const auto rule = std::ranges::find(rules, name, &option_rule::name);
  if (rule == rules.end())
    error = "unknown option '" + name + "'";
  else if (has(name) && !rule->may_repeat)
    error = "option '" + name + "' given twice";
  else if (has_value && !rule->has_value)
    error = "option '" + name + "' accepts no value";
  else if (!has_value && rule->has_value && arguments.empty())
    error = "option '" + name + "' requires a value";
  if (!error.empty())
    return false;

  std::string &value = options_[name].emplace_back();
  if (has_value) {
    value = argument.substr(name.size() + 1);
  } else if (rule->has_value) {
    value = arguments.front();
    arguments = arguments.subspan(1);
  }
  return true;
}

std::string command_line::value(std::string_view option, std::string_view otherwise) const {
  const auto found = options_.find(option);
  return found == options_.end() ? std::string{otherwise} : found->second.front();
}

std::vector<std::string> command_line::values(std::string_view option) const {
  const auto found = options_.find(option);
  return found == options_.end() ? std::vector<std::string>{} : found->second;
}

} // namespace dravik::tools
