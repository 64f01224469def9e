// Which requests a live board serves.
#pragma once

#include <cstdint>
#include <string>
#include <string_view>

namespace dravik::sim {

/// The address that a server listens on. A page of another origin can neither read nor change the board: Host
/// must name this address, so that no other name leads here, and Origin, if there is one, this page.
class own_address {
public:
  own_address(std::string ip, uint16_t port) : ip_(std::move(ip)), port_(port) {}

  bool is_loopback() const;
  /// Whether the server listens on all addresses of the machine; their number is then the name.
  bool is_any() const { return ip_ == "0.0.0.0" || ip_ == "::"; }

  /// As it is written in an address: with its port, IPv6 in brackets.
  std::string authority() const;

  bool is_host(std::string_view host) const;
  /// An absent origin is that of a program, not of a page.
  bool is_origin(std::string_view origin, std::string_view host) const;

private:
  std::string ip_;
  uint16_t port_;
};

/// "127.0.0.1", "127.0.0.1:8080", "[::1]:8080" or "::1". Return false if it is not an address.
[[nodiscard]] bool parse_address(std::string_view text, std::string &ip, uint16_t &port);

/// Compare secrets in a time that does not depend on where they differ.
bool is_same_secret(std::string_view one, std::string_view other);

/// The value of a parameter in the query of a target; empty if there is none.
std::string_view parameter_of(std::string_view target, std::string_view name);

} // namespace dravik::sim
