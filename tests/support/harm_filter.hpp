// A filter of the kernel for a process that tries what must not reach the host: a call that could do harm
// ends it with SIGSYS. Children inherit it.
#pragma once

#include <array>
#include <cstddef>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/prctl.h>
#include <sys/syscall.h>
#include <unistd.h>

namespace dravik::test {

inline constexpr std::array harmful_calls = {
    SYS_reboot,       SYS_mount,         SYS_umount2,     SYS_clock_settime, SYS_settimeofday,
    SYS_swapon,       SYS_swapoff,       SYS_adjtimex,    SYS_clock_adjtime, SYS_init_module,
    SYS_finit_module, SYS_delete_module, SYS_sethostname, SYS_pivot_root,    SYS_kexec_load,
    SYS_fsopen,       SYS_move_mount,
};

/// Return false if the kernel rejects it; then nothing may be tried.
[[nodiscard]] inline bool forbid_harm() {
  std::array<sock_filter, 2 * harmful_calls.size() + 2> program;
  size_t end = 0;
  program[end++] = BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr));
  for (const long call : harmful_calls) {
    program[end++] = BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<unsigned>(call), 0, 1);
    program[end++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_KILL_PROCESS);
  }
  program[end++] = BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW);
  const sock_fprog filter = {static_cast<unsigned short>(end), program.data()};
  return ::prctl(PR_SET_NO_NEW_PRIVS, 1, 0, 0, 0) == 0 &&
         ::syscall(SYS_seccomp, SECCOMP_SET_MODE_FILTER, 0, &filter) == 0;
}

} // namespace dravik::test
