// The report of a command: a tree of named values, printed as text or as JSON.
#pragma once

#include <concepts>
#include <cstddef>
#include <cstdint>
#include <string>
#include <string_view>
#include <variant>
#include <vector>

namespace dravik::ctl {

struct field;

/// Thousandths of a unit: printed as a number with three decimals.
struct thousandths {
  int64_t count;
};

class value {
public:
  using list = std::vector<value>;
  using fields = std::vector<field>;

  // Defined after `field`: a constructor needs it complete.
  value(std::nullptr_t); ///< a value that does not exist or cannot be read
  value(bool is);
  template <std::integral Number> value(Number number);
  value(thousandths number);
  value(const char *text);
  value(std::string text);
  value(list values);
  value(fields named);

  /// One line, in ASCII as far as the texts are.
  std::string json() const;
  /// Lines "name: value"; nested values are indented below their name. Each ends with a line end.
  std::string text() const { return text_below(0); }

  /// The value on one line, without a line end; fields as "name: value, name: value".
  std::string inline_text() const;

private:
  std::string text_below(size_t depth) const;
  bool is_block() const noexcept;

  std::variant<std::nullptr_t, bool, int64_t, thousandths, std::string, list, fields> content_;
};

struct field {
  std::string_view name; ///< in lower case with underscores: the key in JSON
  value content;
};

inline value::value(std::nullptr_t) {}
inline value::value(bool is) : content_(is) {}
template <std::integral Number> value::value(Number number) : content_(static_cast<int64_t>(number)) {}
inline value::value(thousandths number) : content_(number) {}
inline value::value(const char *text) : content_(std::string{text}) {}
inline value::value(std::string text) : content_(std::move(text)) {}
inline value::value(list values) : content_(std::move(values)) {}
inline value::value(fields named) : content_(std::move(named)) {}

/// A number; null for the library's negative results.
template <std::integral Number> value known(Number number) {
  return number >= 0 ? value{number} : value{nullptr};
}

} // namespace dravik::ctl
