// Values as text and as JSON.

#include "dravik-ctl/value.hpp"

#include "common/tool.hpp"
#include "dravik-ctl/utf8.hpp"

#include <algorithm>
#include <cstdio>
#include <cstdlib>

namespace dravik::ctl {
namespace {

template <class... Cases> struct cases : Cases... { using Cases::operator()...; };
template <class... Cases> cases(Cases...) -> cases<Cases...>;

std::string decimal(thousandths number) {
  char text[40];
  const long long whole = number.count;
  std::snprintf(text, sizeof text, "%s%lld.%03lld", whole < 0 ? "-" : "", std::llabs(whole) / 1000,
                std::llabs(whole) % 1000);
  return text;
}

std::string escaped(char c) {
  char text[8];
  std::snprintf(text, sizeof text, "\\u%04x", static_cast<unsigned>(c));
  return text;
}

/// A string of JSON. Bytes that are not UTF-8, as names of files may hold, become U+FFFD.
std::string quoted(std::string_view text) {
  std::string made = "\"";
  while (!text.empty()) {
    const char first = text.front();
    const std::string_view whole = take_character(text).bytes;
    if (whole.empty())
      made += "\\ufffd";
    else if (first == '"' || first == '\\')
      made += {'\\', first};
    else if (static_cast<unsigned char>(first) < ' ' || first == '\x7F')
      made += escaped(first);
    else
      made += whole;
  }
  return made + '"';
}

/// The parts between commas.
template <class Parts, class Write> std::string joined(const Parts &parts, Write write) {
  std::string made;
  for (const auto &part : parts)
    made += (made.empty() ? "" : ", ") + write(part);
  return made;
}

std::string spaced(std::string_view name) {
  std::string words{name};
  std::ranges::replace(words, '_', ' ');
  return words;
}

} // namespace

std::string value::json() const {
  return std::visit(
      cases{[](std::nullptr_t) { return std::string{"null"}; },
            [](bool is) { return std::string{is ? "true" : "false"}; },
            [](int64_t number) { return std::to_string(number); },
            [](thousandths number) { return decimal(number); },
            [](const std::string &text) { return quoted(text); },
            [](const list &values) {
              return '[' + joined(values, [](const value &v) { return v.json(); }) + ']';
            },
            [](const fields &named) {
              return '{' +
                     joined(named, [](const field &f) { return quoted(f.name) + ": " + f.content.json(); }) +
                     '}';
            }},
      content_);
}

bool value::is_block() const noexcept {
  const list *const values = std::get_if<list>(&content_);
  return std::holds_alternative<fields>(content_) ||
         (values != nullptr && std::ranges::any_of(*values, &value::is_block));
}

std::string value::inline_text() const {
  return std::visit(
      cases{[](std::nullptr_t) { return std::string{"-"}; },
            [](bool is) { return std::string{is ? "yes" : "no"}; },
            [](int64_t number) { return std::to_string(number); },
            [](thousandths number) { return decimal(number); },
            [](const std::string &text) { return tools::in_one_line(text); },
            [](const list &values) { return joined(values, [](const value &v) { return v.inline_text(); }); },
            [](const fields &named) {
              return joined(named,
                            [](const field &f) { return spaced(f.name) + ": " + f.content.inline_text(); });
            }},
      content_);
}

std::string value::text_below(size_t depth) const {
  const std::string margin(depth * 2, ' ');
  if (const list *const values = std::get_if<list>(&content_); values != nullptr && is_block()) {
    std::string made;
    for (const value &each : *values) {
      std::string block = each.text_below(depth + 1);
      block[margin.size()] = '-';
      made += block;
    }
    return made;
  }
  const fields *const named = std::get_if<fields>(&content_);
  if (named == nullptr)
    return margin + inline_text() + '\n';
  std::string made;
  for (const field &each : *named)
    made += margin + spaced(each.name) + ':' +
            (each.content.is_block() ? '\n' + each.content.text_below(depth + 1)
                                     : ' ' + each.content.inline_text() + '\n');
  return made;
}

} // namespace dravik::ctl
