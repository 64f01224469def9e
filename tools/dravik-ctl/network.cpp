// "net": the addresses of the network interfaces.

#include "dravik-ctl/commands.hpp"
#include "dravik-ctl/reports.hpp"
#include "dravik.h"

#include <algorithm>
#include <array>
#include <cstdio>
#include <memory>
#include <net/if.h>

namespace dravik::ctl {
namespace {

constexpr std::string_view net_help =
    R"(Usage: dravik-ctl net [INTERFACE]

Print the addresses of one network interface, or of all.

Output: name, mac and ip, null if it has none; without INTERFACE a list of
these as interfaces

Examples:
  dravik-ctl net
  dravik-ctl net wlan0 --json

Exit status: 0 on success; 1 on failure; 2 on a usage error
)";

/// Six bytes as text; null if they are all zero, as without hardware.
value mac_of(const char *name) {
  std::array<uint8_t, 6> mac;
  get_netdev_mac(name, mac.data());
  if (std::ranges::count(mac, 0) == static_cast<ptrdiff_t>(mac.size()))
    return nullptr;
  std::array<char, 20> text;
  std::snprintf(text.data(), text.size(), "%02x:%02x:%02x:%02x:%02x:%02x", mac[0], mac[1], mac[2], mac[3],
                mac[4], mac[5]);
  return text.data();
}

value ip_of(const char *name) {
  std::array<char, 16> text;
  return get_netdev_ip(name, text.data()) == 0 ? value{text.data()} : value{nullptr};
}

value::fields interface(const char *name) {
  return {{"name", name}, {"mac", mac_of(name)}, {"ip", ip_of(name)}};
}

outcome net(const command_line &given, value::fields &report, std::string &error) {
  if (given.operands().empty()) {
    report = {{"interfaces", all_interfaces()}};
    return outcome::done;
  }
  const std::string &name = given.operands()[0];
  if (::if_nametoindex(name.c_str()) == 0)
    return failed(error, "net: no interface '" + name + "'");
  report = interface(name.c_str());
  return outcome::done;
}

} // namespace

value all_interfaces() {
  value::list all;
  const std::unique_ptr<struct if_nameindex, decltype(&::if_freenameindex)> names{::if_nameindex(),
                                                                                  ::if_freenameindex};
  for (const struct if_nameindex *each = names.get(); each != nullptr && each->if_name != nullptr; ++each)
    all.emplace_back(interface(each->if_name));
  return all;
}

extern constinit const command net_command = {.name = "net",
                                              .summary = "print network addresses",
                                              .help = net_help,
                                              .optional_operands = 1,
                                              .run = reporting<net>};

} // namespace dravik::ctl
