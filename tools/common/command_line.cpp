// Sorting of words by the rules of a command.

#include "common/command_line.hpp"

#include <algorithm>

namespace dravik::tools {

bool command_line::parse(std::span<const char *const> words, std::span<const option_rule> rules,
                         std::string &error) {
  while (!words.empty()) {
    const std::string_view word = words.front();
    if (word == "--") {
      operands_.insert(operands_.end(), words.begin() + 1, words.end());
      return true;
    }
    if (word.starts_with('-') && word.size() > 1) {
      if (!take_option(words, rules, error))
        return false;
      continue;
    }
    operands_.emplace_back(word);
    words = words.subspan(1);
  }
  return true;
}

bool command_line::take_option(std::span<const char *const> &words, std::span<const option_rule> rules,
                               std::string &error) {
  const std::string_view word = words.front();
  words = words.subspan(1);
  const std::string name{word.substr(0, word.find('='))};
  const bool has_value = name.size() < word.size();
  const auto rule = std::ranges::find(rules, name, &option_rule::name);
  if (rule == rules.end())
    error = "unknown option " + name;
  else if (has(name))
    error = "option " + name + " given twice";
  else if (has_value && !rule->takes_value)
    error = "option " + name + " takes no value";
  else if (!has_value && rule->takes_value && words.empty())
    error = "option " + name + " needs a value";
  if (!error.empty())
    return false;

  std::string &value = options_[name];
  if (has_value) {
    value = word.substr(name.size() + 1);
  } else if (rule->takes_value) {
    value = words.front();
    words = words.subspan(1);
  }
  return true;
}

std::string command_line::value(std::string_view option, std::string_view otherwise) const {
  const auto found = options_.find(option);
  return found == options_.end() ? std::string{otherwise} : found->second;
}

} // namespace dravik::tools
