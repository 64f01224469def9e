// The arguments of a command, sorted into options and operands.
#pragma once

#include <map>
#include <span>
#include <string>
#include <string_view>
#include <vector>

namespace dravik::tools {

struct option_rule {
  std::string_view name; ///< with its two hyphens
  bool has_value;
  bool may_repeat = false;
};

class command_line {
public:
  /// Sort arguments: "--name VALUE", "--name=VALUE", "--flag"; operands only after "--", and from the
  /// operand after `own_operands` on. On failure returns false and sets `error`.
  [[nodiscard]] bool parse(std::span<const char *const> arguments, std::span<const option_rule> rules,
                           size_t own_operands, std::string &error);

  const std::vector<std::string> &operands() const noexcept { return operands_; }
  bool has(std::string_view option) const noexcept { return options_.find(option) != options_.end(); }
  /// The value of an option (default: `otherwise`).
  std::string value(std::string_view option, std::string_view otherwise = {}) const;
  /// The values of an option that may be repeated.
  std::vector<std::string> values(std::string_view option) const;

private:
  bool accept_option(std::span<const char *const> &arguments, std::span<const option_rule> rules,
                     std::string &error);

  std::vector<std::string> operands_;
  std::map<std::string, std::vector<std::string>, std::less<>> options_;
};

} // namespace dravik::tools
