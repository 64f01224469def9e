// System queries: monitor, splash language, network addresses, clock.

#include "base/unique_fd.hpp"
#include "dravik.h"

#include <array>
#include <cstdlib>
#include <cstring>
#include <ctime>
#include <fcntl.h>
#include <ifaddrs.h>
#include <memory>
#include <net/if.h>
#include <netdb.h>
#include <span>
#include <string_view>
#include <sys/ioctl.h>
#include <sys/socket.h>
#include <unistd.h>

namespace dravik::board {
namespace {

constexpr const char *edid_report = "/proc/ambarella/hdmi_edid";
constexpr const char *dump_command = "/usr/sbin/nanddump -l 2048 -f /tmp/ptb -o /dev/mtd1 >& /dev/null";
constexpr const char *dump_file = "/tmp/ptb";
constexpr size_t dump_size = 2048;
constexpr size_t language_position = 896;
constexpr socklen_t ipv4_address_size = sizeof(sockaddr_in);
constexpr size_t host_size = 1025;

/// Read the first Size bytes of a file; missing bytes are 0. Return false if it cannot be opened.
template <size_t Size> bool read_start(const char *path, std::array<char, Size> &into) noexcept {
  into = {};
  const unique_fd fd{::open(path, O_RDONLY)};
  if (!fd)
    return false;
  [[maybe_unused]] const ssize_t got = ::read(fd.get(), into.data(), into.size());
  return true;
}

void read_mac(const char *ifname, uint8_t *mac) noexcept {
  ifreq request = {};
  if (std::strlen(ifname) >= sizeof request.ifr_name)
    return;
  std::strcpy(request.ifr_name, ifname);
  const unique_fd socket{::socket(AF_INET, SOCK_DGRAM, 0)};
  if (::ioctl(socket.get(), SIOCGIFHWADDR, &request) >= 0)
    std::memcpy(mac, request.ifr_hwaddr.sa_data, DRAVIK_MAC_SIZE);
}

struct free_list {
  void operator()(ifaddrs *list) const noexcept { ::freeifaddrs(list); }
};

/// Find the last IPv4 address of an interface; see get_netdev_ip() for the result.
int32_t read_ip(const char *ifname, char *ip) noexcept {
  ifaddrs *first = nullptr;
  if (::getifaddrs(&first) != 0)
    return -1;
  const std::unique_ptr<ifaddrs, free_list> list{first};
  int32_t result = -1;
  for (const ifaddrs *entry = first; entry != nullptr; entry = entry->ifa_next) {
    if (entry->ifa_addr == nullptr)
      continue;
    std::array<char, host_size> host;
    const int error = ::getnameinfo(entry->ifa_addr, ipv4_address_size, host.data(), host.size(), nullptr, 0,
                                    NI_NUMERICHOST);
    if (std::strcmp(entry->ifa_name, ifname) != 0)
      continue;
    if (result < 0)
      result = 1;
    if (entry->ifa_addr->sa_family != AF_INET)
      continue;
    if (error != 0)
      return -1;
    std::strcpy(ip, host.data());
    result = 0;
  }
  return result;
}

/// Not std::string_view::starts_with(), which needs the C++ library in builds without optimisation.
bool starts_with(std::span<const char> text, std::string_view prefix) noexcept {
  return text.size() >= prefix.size() && std::memcmp(text.data(), prefix.data(), prefix.size()) == 0;
}

} // namespace
} // namespace dravik::board

extern "C" {

using namespace dravik::board;

int32_t hdmi_detect() noexcept {
  std::array<char, 1024> report;
  read_start(edid_report, report);
  if (starts_with(report, "No HDMI"))
    return 0;
  return starts_with(report, "Basic EDID") ? 1 : -1;
}

int32_t get_splash_lang(char *lang) noexcept {
  lang[0] = '\0';
  [[maybe_unused]] const int status = std::system(dump_command);
  std::array<char, dump_size> dump;
  if (!read_start(dump_file, dump))
    return -1;
  lang[0] = dump[language_position];
  lang[1] = dump[language_position + 1];
  lang[2] = '\0';
  return 0;
}

int32_t get_netdev_mac(const char *ifname, uint8_t *mac) noexcept {
  std::memset(mac, 0, DRAVIK_MAC_SIZE);
  read_mac(ifname, mac);
  return 0;
}

int32_t get_netdev_ip(const char *ifname, char *ip) noexcept {
  return read_ip(ifname, ip);
}

uint32_t get_tick_count() noexcept {
  timespec now;
  ::clock_gettime(CLOCK_MONOTONIC, &now);
  return static_cast<uint32_t>(now.tv_sec) * 1000U + static_cast<uint32_t>(now.tv_nsec / 1000000);
}

} // extern "C"
