// The calls that act on the whole system: shell commands, mounts, reboots. On a
// board they act on the board only.

#include "board/board_files.hpp"
#include "preload/card_view.hpp"
#include "preload/child_process.hpp"
#include "preload/next.hpp"
#include "preload/path_map.hpp"
#include "preload/shell_commands.hpp"

#include <cerrno>
#include <string_view>
#include <sys/mount.h>
#include <sys/reboot.h>

namespace dravik::sim {
namespace {

bool is(const char *given, std::string_view path) noexcept {
  return given != nullptr && given == path;
}

int refused() noexcept {
  errno = EPERM;
  return -1;
}

int done_if_ended_well(int status) noexcept {
  if (status == 0)
    return 0;
  errno = EINVAL;
  return -1;
}

int mount_on_board(const char *source, const char *target, unsigned long flags) noexcept {
  record_event("mount: %s %s", source != nullptr ? source : "(none)", target != nullptr ? target : "(none)");
  if (!is(source, card_partition) || !is(target, card_mount_point))
    return refused();
  constexpr const char *read_only[] = {"-r"};
  return done_if_ended_well(run_card_action("mount", shell_words{""},
                                            {read_only, (flags & MS_RDONLY) != 0 ? size_t{1} : size_t{0}}));
}

/// MNT_DETACH is `umount -l`. If the card is still mounted after a failure, it is in use, or
/// its files exceed its capacity.
int unmount_on_board(const char *target, int flags) noexcept {
  record_event("umount: %s", target != nullptr ? target : "(none)");
  if (!is(target, card_partition) && !is(target, card_mount_point))
    return refused();
  constexpr const char *lazy[] = {"-l"};
  if (run_card_action("umount", shell_words{"umount 2>/dev/null"},
                      {lazy, (flags & MNT_DETACH) != 0 ? size_t{1} : size_t{0}}) == 0)
    return 0;
  errno = card_is_mounted() ? EBUSY : EINVAL;
  return -1;
}

int reboot_on_board(unsigned request) noexcept {
  record_event("reboot: 0x%x", request);
  if (request != RB_ENABLE_CAD && request != RB_DISABLE_CAD)
    reboot_board("reboot()");
  return 0;
}

} // namespace
} // namespace dravik::sim

using namespace dravik::sim;

SIM_DEFINE(int, system, (const char *command)) {
  int status = 1; // there is a shell
  if (board_directory() == nullptr)
    return SIM_NEXT(system)(command);
  return command == nullptr || run_on_board(command, status) ? status : run_host_shell(command);
}

SIM_DEFINE(void, sync, ()) {
  if (board_directory() == nullptr)
    SIM_NEXT(sync)();
  else
    record_event("sync");
}

SIM_DEFINE(int, mount,
           (const char *source, const char *target, const char *type, unsigned long flags,
            const void *data)) {
  return board_directory() == nullptr ? SIM_NEXT(mount)(source, target, type, flags, data)
                                      : mount_on_board(source, target, flags);
}

SIM_DEFINE(int, umount, (const char *target)) {
  return board_directory() == nullptr ? SIM_NEXT(umount)(target) : unmount_on_board(target, 0);
}

SIM_DEFINE(int, umount2, (const char *target, int flags)) {
  return board_directory() == nullptr ? SIM_NEXT(umount2)(target, flags) : unmount_on_board(target, flags);
}

SIM_DEFINE(int, reboot, (int request)) {
  return board_directory() == nullptr ? SIM_NEXT(reboot)(request)
                                      : reboot_on_board(static_cast<unsigned>(request));
}
