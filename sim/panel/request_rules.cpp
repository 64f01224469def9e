// Which requests a live board serves.

#include "panel/request_rules.hpp"
#include "board/settings_text.hpp"

#include <algorithm>
#include <arpa/inet.h>

namespace dravik::sim {
namespace {

bool is_ip(const std::string &text, int family) {
  in6_addr unused;
  return ::inet_pton(family, text.c_str(), &unused) == 1;
}

std::string in_brackets(const std::string &ip) {
  return ip.find(':') != std::string::npos ? std::string{"["}.append(ip).append("]") : ip;
}

/// A host without its port, and an IPv6 address without its brackets; empty if the port is another one.
std::string name_in(std::string_view host, uint16_t port) {
  const std::string end = std::string{":"}.append(std::to_string(port));
  if (!host.ends_with(end))
    return {};
  host.remove_suffix(end.size());
  if (host.starts_with('[') && host.ends_with(']'))
    host = host.substr(1, host.size() - 2);
  return std::string{host};
}

} // namespace

bool own_address::is_loopback() const {
  return ip_.starts_with("127.") || ip_ == "::1";
}

std::string own_address::authority() const {
  return in_brackets(ip_).append(":").append(std::to_string(port_));
}

bool own_address::is_host(std::string_view host) const {
  const std::string name = name_in(host, port_);
  if (is_any())
    return name == "localhost" || is_ip(name, AF_INET) || is_ip(name, AF_INET6);
  return name == ip_ || (is_loopback() && name == "localhost");
}

bool own_address::is_origin(std::string_view origin, std::string_view host) const {
  return origin.empty() || origin == std::string{"http://"}.append(host);
}

bool parse_address(std::string_view text, std::string &ip, uint16_t &port) {
  ip = text;
  port = 0;
  if (is_ip(ip, AF_INET6))
    return true;
  const size_t colon = text.rfind(':');
  if (colon != std::string_view::npos && !text.ends_with(']')) {
    if (!read_number(text.substr(colon + 1), port) || port == 0)
      return false;
    text = text.substr(0, colon);
  }
  const bool has_brackets = text.starts_with('[') && text.ends_with(']');
  ip = has_brackets ? text.substr(1, text.size() - 2) : text;
  return is_ip(ip, has_brackets ? AF_INET6 : AF_INET);
}

bool is_same_secret(std::string_view one, std::string_view other) {
  unsigned differences = one.size() != other.size() ? 1 : 0;
  for (size_t i = 0; i < std::min(one.size(), other.size()); ++i)
    differences |= static_cast<unsigned char>(one[i]) ^ static_cast<unsigned char>(other[i]);
  return differences == 0;
}

std::string_view parameter_of(std::string_view target, std::string_view name) {
  take_until(target, '?');
  while (!target.empty()) {
    std::string_view value = take_until(target, '&');
    if (take_until(value, '=') == name)
      return value;
  }
  return {};
}

} // namespace dravik::sim
