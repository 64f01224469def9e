// System calls that change nothing outside the process that makes them.
//
// What a killed process leaves behind is what was outside it: files, and what other processes have
// received. It changes only at a system call, or by a store to shared memory. A kill before a call of
// this list, or after it, leaves the same as a kill before the next call that is not in it. So a process
// killed before each of its other calls was killed at every call; the last of them is exit_group(), after
// all changes.
//
// Harmless too are mmap() without MAP_SHARED, mprotect() without PROT_WRITE, and openat() without O_CREAT
// and O_TRUNC. Any other call is taken to change something.
#pragma once

#include <algorithm>
#include <array>
#include <cstddef>
#include <cstdint>
#include <fcntl.h>
#include <linux/filter.h>
#include <linux/seccomp.h>
#include <sys/mman.h>
#include <sys/syscall.h>
#include <vector>

namespace dravik::test {

#ifdef SYS_mmap
constexpr long memory_map = SYS_mmap;
#else
constexpr long memory_map = SYS_mmap2;
#endif

constexpr auto harmless_calls = std::to_array<long>({
    // Memory, signals, identity and limits of the process itself end with it.
    SYS_brk,
    SYS_munmap,
    SYS_rt_sigaction,
    SYS_rt_sigprocmask,
    SYS_rt_sigreturn,
    SYS_sigaltstack,
    SYS_futex,
    SYS_set_tid_address,
    SYS_set_robust_list,
    SYS_rseq,
    SYS_prlimit64,
    SYS_umask,
    SYS_chdir,
    SYS_fchdir,
    SYS_setresuid,
    SYS_setgid,
#ifdef SYS_arch_prctl
    SYS_arch_prctl,
#endif
    // Queries.
    SYS_getpid,
    SYS_gettid,
    SYS_getuid,
    SYS_geteuid,
    SYS_getgid,
    SYS_getegid,
    SYS_getcwd,
    SYS_uname,
    SYS_getrandom,
    SYS_clock_gettime,
    SYS_fstat,
#ifdef SYS_newfstatat
    SYS_newfstatat,
#else
    SYS_fstatat64,
#endif
    SYS_fstatfs,
    SYS_statx,
    SYS_faccessat,
    SYS_faccessat2,
    SYS_readlinkat,
    SYS_getdents64,
#ifdef SYS_access
    SYS_access,
    SYS_stat,
    SYS_lstat,
    SYS_readlink,
#endif
    // A read changes the time of access, which nothing here uses, or empties a pipe between processes that
    // are killed together.
    SYS_read,
    SYS_pread64,
    // Descriptors are closed by the kernel, and locks end with them.
    SYS_lseek,
    SYS_close,
    SYS_fcntl,
    SYS_flock,
    SYS_dup3,
    SYS_pipe2,
    SYS_socket,
#ifdef SYS_dup2
    SYS_dup2,
#endif
    // A parent that waits changes nothing; the child makes the calls.
    SYS_wait4,
});

struct traced_call {
  long number = -1;
  std::array<uint64_t, 6> arguments = {};
  bool is_only_process = false; ///< of its program
};

inline bool is_harmless(const traced_call &call) {
  switch (call.number) {
  case memory_map:
    return (call.arguments[3] & MAP_SHARED) == 0;
  case SYS_mprotect:
    return (call.arguments[2] & PROT_WRITE) == 0;
  case SYS_openat:
    return (call.arguments[2] & (O_CREAT | O_TRUNC)) == 0;
  default:
    return std::ranges::find(harmless_calls, call.number) != harmless_calls.end();
  }
}

/// Whether a call lets a process change a file by mere stores to memory.
inline bool maps_file_for_writing(const traced_call &call) {
  return (call.number == memory_map || call.number == SYS_mprotect) && !is_harmless(call) &&
         (call.arguments[2] & PROT_WRITE) != 0;
}

/// A filter with which the kernel stops at other calls only, and the rest run at their usual speed.
inline std::vector<sock_filter> stop_at_other_calls() {
  const auto allow_without = [](long call, uint32_t argument, uint32_t flags) {
    const auto place = static_cast<uint32_t>(offsetof(seccomp_data, args) + argument * sizeof(uint64_t));
    return std::array<sock_filter, 5>{
        {BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(call), 0, 4),
         BPF_STMT(BPF_LD | BPF_W | BPF_ABS, place), BPF_JUMP(BPF_JMP | BPF_JSET | BPF_K, flags, 0, 1),
         BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE), BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW)}};
  };
  std::vector<sock_filter> filter = {BPF_STMT(BPF_LD | BPF_W | BPF_ABS, offsetof(seccomp_data, nr))};
  for (const long call : harmless_calls) {
    filter.push_back(BPF_JUMP(BPF_JMP | BPF_JEQ | BPF_K, static_cast<uint32_t>(call), 0, 1));
    filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_ALLOW));
  }
  for (const auto &part :
       {allow_without(memory_map, 3, MAP_SHARED), allow_without(SYS_mprotect, 2, PROT_WRITE),
        allow_without(SYS_openat, 2, O_CREAT | O_TRUNC)})
    filter.insert(filter.end(), part.begin(), part.end());
  filter.push_back(BPF_STMT(BPF_RET | BPF_K, SECCOMP_RET_TRACE));
  return filter;
}

} // namespace dravik::test
