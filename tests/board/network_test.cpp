// Addresses of network interfaces: of this machine, of a network of our own, and of lists made up here.

#include "dravik.h"
#include "support/bytes.hpp"
#include "support/descriptors.hpp"
#include "support/next_call.hpp"
#include "support/program.hpp"

#include <arpa/inet.h>
#include <array>
#include <cstring>
#include <deque>
#include <gtest/gtest.h>
#include <ifaddrs.h>
#include <linux/capability.h>
#include <netdb.h>
#include <sched.h>
#include <sys/prctl.h>
#include <sys/syscall.h>

namespace {

struct {
  bool lists_are_made_up = false, list_fails = false;
  ifaddrs *list = nullptr;
  size_t frees = 0;
  std::string unrenderable;                      ///< an address that getnameinfo() rejects
  std::vector<std::array<size_t, 4>> renderings; ///< lengths and flags of the calls
} network;

} // namespace

extern "C" {

int getifaddrs(struct ifaddrs **list) noexcept {
  if (network.list_fails)
    return -1;
  if (!network.lists_are_made_up)
    return dravik::test::next_call<int(ifaddrs **)>("getifaddrs")(list);
  *list = network.list;
  return 0;
}

void freeifaddrs(struct ifaddrs *list) noexcept {
  ++network.frees;
  if (!network.lists_are_made_up)
    dravik::test::next_call<void(ifaddrs *)>("freeifaddrs")(list);
}

int getnameinfo(const struct sockaddr *address, socklen_t length, char *host, socklen_t host_size,
                char *service, socklen_t service_size, int flags) {
  network.renderings.push_back({length, host_size, service_size, static_cast<size_t>(flags)});
  const int result =
      dravik::test::next_call<int(const sockaddr *, socklen_t, char *, socklen_t, char *, socklen_t, int)>(
          "getnameinfo")(address, length, host, host_size, service, service_size, flags);
  return result == 0 && host == network.unrenderable ? EAI_AGAIN : result;
}

} // extern "C"

namespace dravik::test {
namespace {

using mac_bytes = std::array<uint8_t, 6>;
using answer = std::pair<int32_t, std::string>;

/// The buffer is filled with garbage, so that the returned bytes were written.
mac_bytes checked_mac(const std::string &name) {
  std::array<uint8_t, 8> room;
  room.fill(0xA5);
  EXPECT_EQ(get_netdev_mac(name.c_str(), room.data()), 0);
  EXPECT_EQ(room[6], 0xA5) << "more than six bytes";
  mac_bytes mac;
  std::copy_n(room.begin(), mac.size(), mac.begin());
  return mac;
}

answer ip_of(const std::string &name) {
  network.frees = 0;
  network.renderings.clear();
  char ip[64] = "untouched";
  const int32_t result = get_netdev_ip(name.c_str(), ip);
  return {result, ip};
}

TEST(NetdevMac, ReturnsZeroForLoopback) {
  EXPECT_EQ(checked_mac("lo"), mac_bytes{});
}

TEST(NetdevMac, ReturnsZeroForMissingInterface) {
  EXPECT_EQ(checked_mac("missing0"), mac_bytes{});
  EXPECT_EQ(checked_mac(""), mac_bytes{});
}

TEST(NetdevMac, ReturnsZeroForNameThatDoesNotFit) {
  for (const size_t length : {15U, 16U, 17U, 100U, 5000U})
    EXPECT_EQ(checked_mac(std::string(length, 'n')), mac_bytes{}) << length;
}

TEST(NetdevMac, LeavesNoDescriptorOpen) {
  const size_t before = open_descriptors();
  for (const char *name : {"lo", "missing0", "a-name-of-more-than-fifteen-characters"})
    checked_mac(name);
  EXPECT_EQ(open_descriptors(), before);
}

TEST(NetdevMac, ReturnsZeroWithoutFreeDescriptor) {
  std::vector<int> taken;
  for (int fd; (fd = ::dup(STDERR_FILENO)) >= 0;)
    taken.push_back(fd);
  const mac_bytes mac = checked_mac("lo");
  for (const int fd : taken)
    ::close(fd);
  EXPECT_EQ(mac, mac_bytes{});
}

TEST(NetdevIp, ReturnsLoopbackAddress) {
  EXPECT_EQ(ip_of("lo"), answer(0, "127.0.0.1"));
}

TEST(NetdevIp, FailsForMissingInterface) {
  for (const char *name : {"missing0", "", "l", "lo0", "LO", "a-name-of-more-than-fifteen-characters"})
    EXPECT_EQ(ip_of(name), answer(-1, "untouched")) << name;
}

TEST(NetdevIp, FreesTheListOnce) {
  ip_of("lo");
  EXPECT_EQ(network.frees, 1U);
}

/// Interfaces of a network of this process's own, so that the host's stay as they are. A user namespace
/// gives every user the rights over it; the program `ip` gets them as ambient ones. They last as long as
/// the process.
class OwnNetwork : public testing::Test {
protected:
  void SetUp() override {
    if (!own_network() || !ip({"link", "add", "cam0", "type", "veth", "peer", "name", "cam1"}))
      GTEST_SKIP() << "NOT TESTED: this machine gives us no network interfaces of our own";
    ASSERT_TRUE(ip({"link", "set", "cam0", "address", "02:12:34:56:78:9a", "up"}));
  }

  static bool ip(words arguments) {
    arguments.insert(arguments.begin(), "ip");
    return run_program(arguments) == 0;
  }

private:
  static bool take_rights() {
    __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
    std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3> rights = {};
    if (::unshare(CLONE_NEWUSER) != 0 || ::syscall(SYS_capget, &header, rights.data()) != 0)
      return false;
    rights[0].inheritable = 1U << CAP_NET_ADMIN;
    return ::syscall(SYS_capset, &header, rights.data()) == 0 &&
           ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_RAISE, CAP_NET_ADMIN, 0, 0) == 0;
  }

  static bool own_network() {
    static const bool has_rights = take_rights();
    return has_rights && ::unshare(CLONE_NEWNET) == 0;
  }
};

TEST_F(OwnNetwork, ReturnsMacOfInterface) {
  EXPECT_EQ(checked_mac("cam0"), (mac_bytes{0x02, 0x12, 0x34, 0x56, 0x78, 0x9A}));
}

TEST_F(OwnNetwork, ReturnsMacOfLongestName) {
  ASSERT_TRUE(ip({"link", "set", "cam0", "down"}));
  ASSERT_TRUE(ip({"link", "set", "cam0", "name", "camera012345678"}));
  EXPECT_EQ(checked_mac("camera012345678"), (mac_bytes{0x02, 0x12, 0x34, 0x56, 0x78, 0x9A}));
  EXPECT_EQ(checked_mac("camera0123456789"), mac_bytes{});
  EXPECT_EQ(checked_mac("camera01234567"), mac_bytes{});
}

TEST_F(OwnNetwork, ReturnsIpOfInterface) {
  ASSERT_TRUE(ip({"addr", "add", "192.168.201.254/24", "dev", "cam0"}));
  EXPECT_EQ(ip_of("cam0"), answer(0, "192.168.201.254"));
}

TEST_F(OwnNetwork, ReportsInterfaceWithoutIp) {
  EXPECT_EQ(ip_of("cam0"), answer(1, "untouched"));
}

TEST_F(OwnNetwork, ReportsInterfaceWithIpv6Only) {
  if (!ip({"-6", "addr", "add", "fd00::1/64", "dev", "cam0"}))
    GTEST_SKIP() << "NOT TESTED: this machine has no IPv6";
  EXPECT_EQ(ip_of("cam0"), answer(1, "untouched"));
}

TEST_F(OwnNetwork, ReturnsLastOfSeveralAddresses) {
  ASSERT_TRUE(ip({"addr", "add", "10.0.0.1/24", "dev", "cam0"}));
  ASSERT_TRUE(ip({"addr", "add", "10.0.0.2/24", "dev", "cam0"}));
  EXPECT_EQ(ip_of("cam0"), answer(0, "10.0.0.2"));
}

TEST_F(OwnNetwork, ReportsNoIpOfLoopbackThatIsDown) {
  EXPECT_EQ(ip_of("lo"), answer(1, "untouched"));
}

/// A list of addresses as the C library would give it.
class MadeUpList : public testing::Test {
protected:
  MadeUpList() { network.lists_are_made_up = true; }
  ~MadeUpList() override {
    network.lists_are_made_up = network.list_fails = false;
    network.list = nullptr;
    network.unrenderable.clear();
  }

  void add(const char *name, sockaddr *address) {
    entries_.push_back({});
    entries_.back().ifa_name = const_cast<char *>(name);
    entries_.back().ifa_addr = address;
    if (entries_.size() > 1)
      entries_[entries_.size() - 2].ifa_next = &entries_.back();
    network.list = &entries_.front();
  }
  void add_ipv4(const char *name, const char *text) {
    auto &address = reinterpret_cast<sockaddr_in &>(addresses_.emplace_back());
    address.sin_family = AF_INET;
    ::inet_pton(AF_INET, text, &address.sin_addr);
    add(name, reinterpret_cast<sockaddr *>(&address));
  }
  void add_family(const char *name, sa_family_t family) {
    addresses_.emplace_back().ss_family = family;
    add(name, reinterpret_cast<sockaddr *>(&addresses_.back()));
  }

private:
  std::deque<ifaddrs> entries_;
  std::deque<sockaddr_storage> addresses_ = {};
};

TEST_F(MadeUpList, FindsIpAmongOtherInterfaces) {
  add_family("lo", AF_PACKET);
  add_family("wlan0", AF_PACKET);
  add_ipv4("lo", "127.0.0.1");
  add_ipv4("wlan0", "10.1.2.3");
  add_ipv4("wlan1", "10.9.9.9");
  add_family("wlan0", AF_INET6);
  EXPECT_EQ(ip_of("wlan0"), answer(0, "10.1.2.3"));
  EXPECT_EQ(network.frees, 1U);
}

TEST_F(MadeUpList, ReturnsLaterAddress) {
  add_ipv4("wlan0", "10.1.2.3");
  add_ipv4("wlan0", "255.255.255.255");
  EXPECT_EQ(ip_of("wlan0"), answer(0, "255.255.255.255"));
}

TEST_F(MadeUpList, IgnoresOtherFamilies) {
  add_family("wlan0", AF_PACKET);
  add_family("wlan0", AF_INET6);
  EXPECT_EQ(ip_of("wlan0"), answer(1, "untouched"));
}

TEST_F(MadeUpList, SkipsEntryWithoutAddress) {
  add("wlan0", nullptr);
  add_ipv4("wlan0", "10.1.2.3");
  add("wlan0", nullptr);
  EXPECT_EQ(ip_of("wlan0"), answer(0, "10.1.2.3"));
}

TEST_F(MadeUpList, ReportsInterfaceWithoutAnyAddressAsMissing) {
  add("wlan0", nullptr);
  add_ipv4("lo", "127.0.0.1");
  EXPECT_EQ(ip_of("wlan0"), answer(-1, "untouched"));
}

TEST_F(MadeUpList, NamesMatchAsAWhole) {
  add_ipv4("wlan0", "10.1.2.3");
  for (const char *name : {"wlan", "wlan00", "Wlan0", ""})
    EXPECT_EQ(ip_of(name), answer(-1, "untouched")) << name;
}

TEST_F(MadeUpList, FailsForEmptyList) {
  EXPECT_EQ(ip_of("lo"), answer(-1, "untouched"));
}

TEST_F(MadeUpList, FailsIfListIsUnavailable) {
  network.list_fails = true;
  EXPECT_EQ(ip_of("lo"), answer(-1, "untouched"));
}

TEST_F(MadeUpList, StopsAtAddressThatCannotBeRendered) {
  add_ipv4("wlan0", "10.1.2.3");
  add_ipv4("wlan0", "10.1.2.4");
  network.unrenderable = "10.1.2.3";
  EXPECT_EQ(ip_of("wlan0"), answer(-1, "untouched"));
}

TEST_F(MadeUpList, SkipsUnrenderableAddressOfOtherInterface) {
  add_ipv4("lo", "127.0.0.1");
  add_ipv4("wlan0", "10.1.2.3");
  network.unrenderable = "127.0.0.1";
  EXPECT_EQ(ip_of("wlan0"), answer(0, "10.1.2.3"));
}

TEST_F(MadeUpList, AddressesAreRenderedAsNumbersWithoutAService) {
  add_ipv4("wlan0", "10.1.2.3");
  ip_of("wlan0");
  const std::array<size_t, 4> expected = {16, 1025, 0, NI_NUMERICHOST};
  EXPECT_EQ(network.renderings, std::vector{expected});
}

} // namespace
} // namespace dravik::test
