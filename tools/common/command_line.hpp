// The words of a command line, sorted into options and operands.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dravik::tools {

struct option_rule {
  std::string_view name; ///< with its two hyphens
  bool takes_value;
};

class command_line {
public:
  /// Sorts words: "--name VALUE", "--name=VALUE", "--flag", and after "--" operands only. On failure gives
  /// false and says in `error` which word is wrong.
  [[nodiscard]] bool parse(std::span<const char *const> words, std::span<const option_rule> rules,
                           std::string &error);

  const std::vector<std::string> &operands() const noexcept { return operands_; }
  bool has(std::string_view option) const noexcept { return options_.find(option) != options_.end(); }
  /// The value of an option, or `otherwise` when it was not given.
  std::string value(std::string_view option, std::string_view otherwise = {}) const;

private:
  bool take_option(std::span<const char *const> &words, std::span<const option_rule> rules,
                   std::string &error);

  std::vector<std::string> operands_;
  std::map<std::string, std::string, std::less<>> options_;
};

} // namespace dravik::tools
