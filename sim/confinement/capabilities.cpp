// The capabilities that an application keeps. The list is of what stays, so that capabilities of later
// kernels go.

#include "confinement/capabilities.hpp"

#include <array>
#include <linux/capability.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::sim {
namespace {

struct named_capability {
  int number;
  const char *name;
};

/// Rights over files and processes of other users, as in a root shell on the board; ports, memory and
/// real-time priority. Files are confined by Landlock.
constexpr named_capability kept[] = {
    {CAP_CHOWN, "chown"},
    {CAP_DAC_OVERRIDE, "dac_override"},
    {CAP_FOWNER, "fowner"},
    {CAP_FSETID, "fsetid"},
    {CAP_KILL, "kill"},
    {CAP_SETGID, "setgid"},
    {CAP_SETUID, "setuid"},
    {CAP_SETPCAP, "setpcap"}, // to drop more: a launcher inside a boundary
    {CAP_NET_BIND_SERVICE, "net_bind_service"},
    {CAP_IPC_LOCK, "ipc_lock"},
    {CAP_SYS_PTRACE, "sys_ptrace"},
    {CAP_SYS_NICE, "sys_nice"},
};

constexpr uint64_t bit_of(int capability) {
  return uint64_t{1} << capability;
}

uint64_t kept_set(tracing scope) {
  uint64_t set = 0;
  for (const named_capability &one : kept)
    set |= bit_of(one.number);
  return scope == tracing::confined ? set : set & ~bit_of(CAP_SYS_PTRACE);
}

using capability_words = std::array<__user_cap_data_struct, _LINUX_CAPABILITY_U32S_3>;

bool read_capabilities(capability_words &words) {
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  return ::syscall(SYS_capget, &header, words.data()) == 0;
}

bool limit_sets(uint64_t set) {
  capability_words words = {};
  if (!read_capabilities(words))
    return false;
  for (size_t i = 0; i < words.size(); ++i) {
    const auto mask = static_cast<uint32_t>(set >> (32 * i));
    words[i].effective &= mask;
    words[i].permitted &= mask;
    words[i].inheritable &= mask;
  }
  __user_cap_header_struct header = {_LINUX_CAPABILITY_VERSION_3, 0};
  return ::syscall(SYS_capset, &header, words.data()) == 0;
}

/// Without CAP_SETPCAP the bounding set stays; no_new_privs then keeps exec() from adding what was dropped.
void limit_bounding_set(uint64_t set) {
  for (int capability = 0; ::prctl(PR_CAPBSET_READ, capability, 0, 0, 0) >= 0; ++capability)
    if ((set & bit_of(capability)) == 0) {
      ::prctl(PR_CAP_AMBIENT, PR_CAP_AMBIENT_LOWER, capability, 0, 0);
      ::prctl(PR_CAPBSET_DROP, capability, 0, 0, 0);
    }
}

} // namespace

bool drop_capabilities(tracing scope) {
  const uint64_t set = kept_set(scope);
  limit_bounding_set(set);
  limit_sets(set);
  return (permitted_capabilities() & ~set) == 0;
}

uint64_t permitted_capabilities() {
  capability_words words = {};
  if (!read_capabilities(words))
    return ~uint64_t{0};
  return words[0].permitted | uint64_t{words[1].permitted} << 32;
}

std::string names_of_capabilities(uint64_t set) {
  std::string names;
  for (const named_capability &one : kept)
    if ((set & bit_of(one.number)) != 0)
      names.append(names.empty() ? "" : " ").append(one.name);
  return names;
}

} // namespace dravik::sim
