// The boundary of `dravik-sim run`: what an application may write, and a report of what is in force.

#include "launcher/run_boundary.hpp"
#include "common/tool.hpp"
#include "confinement/capabilities.hpp"
#include "confinement/ordinary_directory.hpp"

#include <algorithm>
#include <cstdarg>
#include <cstdio>
#include <filesystem>
#include <unistd.h>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

constexpr const char *nothing_in_force =
    "this kernel has none of the means that keep an application off this machine";

/// An absolute path without links. On failure return false and set `error`.
bool resolve_directory(const std::string &name, std::string &path, std::string &error) {
  std::error_code code;
  path = files::canonical(name, code).string();
  if (code)
    error = name + ": " + code.message();
  else if (!files::is_directory(path, code))
    error = name + ": not a directory";
  else if (path.find(':') != std::string::npos)
    error = name + ": path contains a colon; --writable does not accept it";
  return error.empty();
}

bool add_named(const std::vector<std::string> &names, std::vector<std::string> &paths, std::string &error) {
  for (const std::string &name : names) {
    std::string path;
    if (!resolve_directory(name, path, error))
      return false;
    const std::string reason = why_never_writable(path);
    if (!reason.empty()) {
      error.append(name).append(": cannot be made writable: ").append(reason);
      return false;
    }
    paths.push_back(path);
  }
  return true;
}

void add_working_directory(run_directories &directories) {
  if (!resolve_directory(".", directories.working, directories.why_not_working))
    return;
  directories.why_not_working = why_not_writable_by_default(directories.working);
  if (directories.why_not_working.empty())
    directories.of_host.insert(directories.of_host.begin(), directories.working);
}

[[gnu::format(printf, 2, 3)]] void item(const char *name, const char *format, ...) {
  std::printf("%-16s", name);
  va_list values;
  va_start(values, format);
  std::vprintf(format, values);
  va_end(values);
  std::printf("\n");
}

void explain_calls(const boundary &granted, const run_request &request) {
  if (!granted.calls_are_filtered) {
    item("system calls", "not confined: no seccomp filter");
    return;
  }
  item("system calls",
       "rejected with EPERM: reboot, kexec, mounts, swap, kernel modules, setting the clock, I/O");
  item("", "ports, host name, quotas, accounting, BPF, io_uring, input for a terminal, signals to");
  item("", "init or to all processes; programs of another ABI get SIGSYS");
  item("local sockets", request.has_local_sockets
                            ? "allowed by --local-sockets: services of the host accept requests there"
                            : "rejected: services of the host accept requests there");
}

void explain_files(const boundary &granted, const run_request &request, const run_directories &directories) {
  if (!granted.confines_files()) {
    item("devices, files", "not confined: no Landlock (Linux 5.19 or later, with 'landlock' among its LSMs)");
    return;
  }
  item("devices", "Landlock, ABI %d: null, zero, full, random, urandom and terminals; no other of /dev",
       granted.landlock_level);
  item("writing", "%s (the board)", directories.board.c_str());
  if (directories.why_not_working.empty())
    item("", "%s (the working directory)", directories.working.c_str());
  for (size_t i = directories.of_host.size() - request.writable.size(); i < directories.of_host.size(); ++i)
    item("", "%s (--writable)", directories.of_host[i].c_str());
  item("", "/dev/shm; nowhere else");
  if (!directories.why_not_working.empty())
    item("", "not the working directory %s: %s", directories.working.c_str(),
         directories.why_not_working.c_str());
}

void explain_processes(const boundary &granted) {
  if (granted.confines_files())
    item("tracing", "only processes inside the boundary");
  else
    item("tracing", "not confined, but for CAP_SYS_PTRACE, which is dropped");
  item("signals", granted.confines_signals()
                      ? "only to processes inside the boundary"
                      : "not confined: the rights of this user (Landlock ABI 6 confines them)");
}

} // namespace

std::string run_directories::list_of_host() const {
  std::string list;
  for (const std::string &directory : of_host)
    list += (list.empty() ? "" : ":") + directory;
  return list;
}

bool find_directories(const run_request &request, run_directories &directories, std::string &error) {
  if (!resolve_directory(request.board, directories.board, error))
    return false;
  const std::string reason = why_not_writable_by_default(directories.board);
  if (!reason.empty()) {
    error = request.board + ": cannot be a board: " + reason;
    return false;
  }
  add_working_directory(directories);
  return add_named(request.writable, directories.of_host, error);
}

boundary_rules rules_for(const run_request &request, const run_directories &directories) {
  boundary_rules rules;
  rules.writable = directories.of_host;
  rules.writable.push_back(directories.board);
  rules.sockets = request.has_local_sockets ? local_sockets::allowed : local_sockets::refused;
  return rules;
}

void explain_boundary(const boundary &granted, const run_request &request,
                      const run_directories &directories) {
  const std::string names = names_of_capabilities(granted.remaining_capabilities);
  item("capabilities", granted.capabilities_are_dropped ? "%s" : "not dropped; %s among others",
       names.empty() ? "none" : names.c_str());
  item("privileges", granted.no_new_privileges ? "no_new_privs: no program gains rights when it is started"
                                               : "not confined: no_new_privs missing");
  explain_calls(granted, request);
  explain_files(granted, request, directories);
  explain_processes(granted);
  item("unconfined", "reading files, the network, permissions and times of files (chmod, chown, utime)");
}

std::string why_not_trusted(const boundary &granted, const run_request &request) {
  const bool is_root = ::geteuid() == 0;
  if (request.trusts)
    return {};
  if (!granted.is_in_force() && is_root)
    return std::string{nothing_in_force} + "; use an ordinary user, or --trust";
  if (!granted.is_in_force())
    tools::warn(nothing_in_force);
  else if (!granted.confines_files() && is_root)
    tools::warn("no Landlock: an application of root can write devices of this host");
  return {};
}

} // namespace dravik::sim
