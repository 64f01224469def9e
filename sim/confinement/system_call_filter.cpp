// A filter of system calls that act on the whole machine.

#include "confinement/system_call_filter.hpp"

#include <bit>
#include <cerrno>
#include <cstddef>
#include <cstdint>
#include <linux/audit.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/ioctl.h>
#include <sys/prctl.h>
#include <sys/socket.h>
#include <sys/syscall.h>
#include <unistd.h>
#include <vector>

namespace dravik::sim {
namespace {

static_assert(std::endian::native == std::endian::little, "the filter reads the low words of arguments");

#if defined __x86_64__ && !defined __ILP32__
constexpr uint32_t own_architecture = AUDIT_ARCH_X86_64;
#elif defined __aarch64__
constexpr uint32_t own_architecture = AUDIT_ARCH_AARCH64;
#elif defined __arm__
constexpr uint32_t own_architecture = AUDIT_ARCH_ARM;
#else
constexpr uint32_t own_architecture = 0; // no filter
#endif

/// On x86-64, numbers from here on are of the ABI with 32-bit pointers.
constexpr uint32_t first_foreign_call = 0x40000000;

// The same on every machine; headers may be older than the kernel.
constexpr uint32_t call_pidfd_open = 434;
constexpr uint32_t call_io_uring_setup = 425;
constexpr uint32_t call_open_tree = 428;
constexpr uint32_t call_move_mount = 429;
constexpr uint32_t call_fsopen = 430;
constexpr uint32_t call_fsconfig = 431;
constexpr uint32_t call_fsmount = 432;
constexpr uint32_t call_fspick = 433;
constexpr uint32_t call_mount_setattr = 442;
constexpr uint32_t call_quotactl_fd = 443;
constexpr uint32_t call_open_tree_attr = 467;

/// Calls that act on the whole machine, whatever their arguments. adjtimex() is not among them, since it also
/// only reads: setting needs CAP_SYS_TIME.
constexpr uint32_t forbidden_calls[] = {
    SYS_reboot,          SYS_kexec_load,
#ifdef SYS_kexec_file_load
    SYS_kexec_file_load,
#endif
    SYS_mount,
#ifdef SYS_umount
    SYS_umount,
#endif
    SYS_umount2,         SYS_pivot_root,    call_open_tree,
    call_open_tree_attr, call_move_mount,   call_fsopen,
    call_fsconfig,       call_fsmount,      call_fspick,
    call_mount_setattr,  SYS_swapon,        SYS_swapoff,
    SYS_init_module,     SYS_finit_module,  SYS_delete_module,
    SYS_clock_settime,
#ifdef SYS_clock_settime64
    SYS_clock_settime64,
#endif
    SYS_settimeofday,
#ifdef SYS_stime
    SYS_stime,
#endif
#ifdef SYS_ioperm
    SYS_ioperm,          SYS_iopl,
#endif
    SYS_sethostname,     SYS_setdomainname, SYS_quotactl,
    call_quotactl_fd,    SYS_acct,          SYS_bpf,
};

struct refused_argument {
  uint32_t call;
  unsigned position;
  uint32_t value; ///< of the low 32 bits
};

/// They inject input into the terminal: into the shell that started the application.
constexpr refused_argument terminal_requests[] = {
    {SYS_ioctl, 1, TIOCSTI},
    {SYS_ioctl, 1, TIOCLINUX},
};

/// Signals to init restart many a machine; -1 is every process of the user.
constexpr uint32_t init = 1;
constexpr refused_argument signal_targets[] = {
    {SYS_kill, 0, init},
    {SYS_kill, 0, ~0U},
    {SYS_tkill, 0, init},
    {SYS_tgkill, 0, init},
    {SYS_rt_sigqueueinfo, 0, init},
    {SYS_rt_tgsigqueueinfo, 0, init},
    {call_pidfd_open, 0, init},
};

/// Init, desktop sessions and container services accept requests there and
/// execute them with their own rights.
constexpr refused_argument local_socket = {SYS_socket, 0, AF_UNIX};

class filter_program {
public:
  filter_program() {
    load(offsetof(seccomp_data, arch));
    add(BPF_JMP | BPF_JEQ | BPF_K, own_architecture, 1, 0);
    give(SECCOMP_RET_KILL_PROCESS);
    load(offsetof(seccomp_data, nr));
    if (own_architecture == AUDIT_ARCH_X86_64) {
      add(BPF_JMP | BPF_JGE | BPF_K, first_foreign_call, 0, 1);
      give(SECCOMP_RET_KILL_PROCESS);
    }
  }

  void refuse(uint32_t call, uint32_t answer) {
    add(BPF_JMP | BPF_JEQ | BPF_K, call, 0, 1);
    give(answer);
  }

  void refuse(const refused_argument &rule) {
    const size_t argument = offsetof(seccomp_data, args) + rule.position * sizeof(seccomp_data::args[0]);
    add(BPF_JMP | BPF_JEQ | BPF_K, rule.call, 0, 4);
    load(argument);
    add(BPF_JMP | BPF_JEQ | BPF_K, rule.value, 0, 1);
    give(fails);
    load(offsetof(seccomp_data, nr));
  }

  void allow_the_rest() { give(SECCOMP_RET_ALLOW); }

  bool install() {
    const sock_fprog program = {static_cast<unsigned short>(steps_.size()), steps_.data()};
    for (const unsigned long flags : {every_thread | SECCOMP_FILTER_FLAG_SPEC_ALLOW, every_thread})
      if (::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, flags, &program) == 0)
        return true;
    return ::prctl(PR_SET_SECCOMP, SECCOMP_MODE_FILTER, &program, 0, 0) == 0;
  }

  static constexpr uint32_t fails = SECCOMP_RET_ERRNO | EPERM;

private:
  static constexpr unsigned long every_thread = SECCOMP_FILTER_FLAG_TSYNC;

  void add(int code, uint32_t value, uint8_t if_true, uint8_t if_false) {
    steps_.push_back({static_cast<uint16_t>(code), if_true, if_false, value});
  }
  void load(size_t offset) { add(BPF_LD | BPF_W | BPF_ABS, static_cast<uint32_t>(offset), 0, 0); }
  void give(uint32_t answer) { add(BPF_RET | BPF_K, answer, 0, 0); }

  std::vector<sock_filter> steps_;
};

/// The application may itself be init, in a container: then it signals itself by that number.
bool has_init_of_its_own() {
  return ::getpid() == static_cast<pid_t>(init);
}

filter_program make_filter(forbidden_call reaction, local_sockets sockets) {
  filter_program filter;
  for (const uint32_t call : forbidden_calls)
    filter.refuse(call, reaction == forbidden_call::kills ? SECCOMP_RET_KILL_PROCESS : filter_program::fails);
  filter.refuse(call_io_uring_setup, filter_program::fails); // its requests pass by this filter
  for (const refused_argument &rule : terminal_requests)
    filter.refuse(rule);
  if (!has_init_of_its_own())
    for (const refused_argument &rule : signal_targets)
      filter.refuse(rule);
  if (sockets == local_sockets::refused)
    filter.refuse(local_socket);
  filter.allow_the_rest();
  return filter;
}

} // namespace

bool filter_system_calls(forbidden_call reaction, local_sockets sockets) {
  return own_architecture != 0 && make_filter(reaction, sockets).install() &&
         ::prctl(PR_GET_SECCOMP, 0, 0, 0, 0) == SECCOMP_MODE_FILTER;
}

} // namespace dravik::sim
