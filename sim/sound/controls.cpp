// The controls of the simulated sound card as ALSA sees them: an external control plugin.

#include "base/unique_fd.hpp"
#include "board/board_files.hpp"
#include "board/chosen_board.hpp"
#include "board/mixer_controls.hpp"

#include <alsa/asoundlib.h>
#include <alsa/control_external.h>
#include <cerrno>
#include <cstdio>
#include <cstdlib>
#include <cstring>
#include <new>
#include <sys/inotify.h>

namespace dravik::sim {
namespace {

constexpr const char *mixer_file = "sound/mixer";

/// An open control interface: ALSA's part, notices of changes, and the values that were reported last.
struct open_controls {
  snd_ctl_ext_t plug = {};
  unique_fd notices{::inotify_init1(IN_NONBLOCK | IN_CLOEXEC)};
  uint32_t reported[mixer_controls + 1] = {};
};

open_controls &controls_of(snd_ctl_ext_t *plug) noexcept {
  return *static_cast<open_controls *>(plug->private_data);
}

void name_control(uint32_t number, snd_ctl_elem_id_t *id) noexcept {
  snd_ctl_elem_id_set_numid(id, number);
  snd_ctl_elem_id_set_interface(id, SND_CTL_ELEM_IFACE_MIXER);
  snd_ctl_elem_id_set_name(id, describe_control(number).name);
}

void close(snd_ctl_ext_t *plug) noexcept {
  open_controls *owned = &controls_of(plug);
  owned->~open_controls();
  std::free(owned);
}

int count_controls(snd_ctl_ext_t *) noexcept {
  return mixer_controls;
}

int list_control(snd_ctl_ext_t *, unsigned offset, snd_ctl_elem_id_t *id) noexcept {
  name_control(offset + 1, id);
  return 0;
}

/// The key of a control is its number.
snd_ctl_ext_key_t find_control(snd_ctl_ext_t *, const snd_ctl_elem_id_t *id) noexcept {
  const unsigned wanted = snd_ctl_elem_id_get_numid(id);
  if (wanted != 0)
    return wanted <= mixer_controls ? wanted : SND_CTL_EXT_KEY_NOT_FOUND;
  for (uint32_t number = 1; number <= mixer_controls; ++number)
    if (std::strcmp(describe_control(number).name, snd_ctl_elem_id_get_name(id)) == 0)
      return number;
  return SND_CTL_EXT_KEY_NOT_FOUND;
}

int describe(snd_ctl_ext_t *, snd_ctl_ext_key_t number, int *type, unsigned *access,
             unsigned *count) noexcept {
  *type = describe_control(static_cast<uint32_t>(number)).is_switch ? SND_CTL_ELEM_TYPE_BOOLEAN
                                                                    : SND_CTL_ELEM_TYPE_INTEGER;
  *access = SND_CTL_EXT_ACCESS_READWRITE;
  *count = 1;
  return 0;
}

int limits(snd_ctl_ext_t *, snd_ctl_ext_key_t number, long *least, long *largest, long *step) noexcept {
  *least = 0;
  *largest = static_cast<long>(describe_control(static_cast<uint32_t>(number)).largest);
  *step = 0;
  return 0;
}

int read_value(snd_ctl_ext_t *, snd_ctl_ext_key_t number, long *value) noexcept {
  *value = static_cast<long>(control_value(board_text{mixer_file}, static_cast<uint32_t>(number)));
  return 0;
}

/// Return 1 for a new value.
int write_value(snd_ctl_ext_t *, snd_ctl_ext_key_t key, long *value) noexcept {
  const auto number = static_cast<uint32_t>(key);
  const mixer_control control = describe_control(number);
  if (*value < 0 || *value > static_cast<long>(control.largest))
    return -EINVAL;
  if (control_value(board_text{mixer_file}, number) == static_cast<uint32_t>(*value))
    return 0;
  char name[16], text[16];
  std::snprintf(name, sizeof name, "numid %u", number);
  std::snprintf(text, sizeof text, "%ld", *value);
  const char *stored = !control.is_switch ? text : *value != 0 ? "on" : "off";
  record_event("sound: %s = %s", name, stored);
  return store_control(name, stored) ? 1 : -ENOSPC;
}

// ------------------------------------------------------------------------------------------------ changes

void watch_changes(open_controls &opened) noexcept {
  char directory[longest_path];
  make_board_directory("sound");
  const int length = std::snprintf(directory, sizeof directory, "%s/sound", board_directory());
  if (length < static_cast<int>(sizeof directory))
    ::inotify_add_watch(opened.notices.get(), directory, IN_CLOSE_WRITE | IN_MOVED_TO);
  const board_text now{mixer_file};
  for (uint32_t number = 1; number <= mixer_controls; ++number)
    opened.reported[number] = control_value(now, number);
}

/// Report one changed control per call.
int read_change(snd_ctl_ext_t *plug, snd_ctl_elem_id_t *id, unsigned *what) noexcept {
  open_controls &opened = controls_of(plug);
  char notices[4096];
  while (::read(opened.notices.get(), notices, sizeof notices) > 0) {
  }
  const board_text now{mixer_file};
  for (uint32_t number = 1; number <= mixer_controls; ++number) {
    const uint32_t value = control_value(now, number);
    if (value == opened.reported[number])
      continue;
    opened.reported[number] = value;
    name_control(number, id);
    *what = SND_CTL_EVENT_MASK_VALUE;
    return 1;
  }
  return -EAGAIN;
}

constexpr snd_ctl_ext_callback_t make_callbacks() noexcept {
  snd_ctl_ext_callback_t callbacks = {};
  callbacks.close = close;
  callbacks.elem_count = count_controls;
  callbacks.elem_list = list_control;
  callbacks.find_elem = find_control;
  callbacks.get_attribute = describe;
  callbacks.get_integer_info = limits;
  callbacks.read_integer = read_value;
  callbacks.write_integer = write_value;
  callbacks.read_event = read_change;
  return callbacks;
}
constexpr snd_ctl_ext_callback_t callbacks = make_callbacks();

int announce(open_controls &opened, const char *name, int mode) noexcept {
  snd_ctl_ext_t &plug = opened.plug;
  plug.version = SND_CTL_EXT_VERSION;
  plug.card_idx = 0;
  std::strcpy(plug.id, "board");
  std::strcpy(plug.driver, "dravik");
  std::strcpy(plug.name, "Simulated sound card");
  std::strcpy(plug.longname, "Simulated sound card");
  std::strcpy(plug.mixername, "Simulated codec");
  plug.poll_fd = opened.notices.get();
  plug.callback = &callbacks;
  plug.private_data = &opened;
  return snd_ctl_ext_create(&plug, name, mode);
}

bool is_on_board() noexcept {
  return static_cast<bool>(unique_fd{open_board_file("board.conf", O_RDONLY)});
}

/// Whether the configuration names the board's only card, by its number or its identity.
bool is_first_card(snd_config_t *configuration) noexcept {
  snd_config_t *card = nullptr;
  char *text = nullptr;
  if (snd_config_search(configuration, "card", &card) < 0)
    return true;
  const bool is_first = snd_config_get_ascii(card, &text) >= 0 &&
                        (std::strcmp(text, "0") == 0 || std::strcmp(text, "board") == 0);
  std::free(text);
  return is_first;
}

int open_control_interface(snd_ctl_t **control, const char *name, snd_config_t *configuration,
                           int mode) noexcept {
  if (!is_on_board() || !is_first_card(configuration))
    return -ENODEV;
  void *const memory = std::malloc(sizeof(open_controls));
  if (memory == nullptr)
    return -ENOMEM;
  auto *const opened = new (memory) open_controls;
  watch_changes(*opened);
  const int result = announce(*opened, name, mode);
  if (result >= 0)
    *control = opened->plug.handle;
  else
    close(&opened->plug);
  return result;
}

} // namespace
} // namespace dravik::sim

extern "C" {

// ALSA looks up these two names.
[[gnu::visibility("default")]] int _snd_ctl_dravik_open(snd_ctl_t **control, const char *name, snd_config_t *,
                                                        snd_config_t *configuration, int mode);
// NOLINTNEXTLINE(clang-diagnostic-reserved-identifier)
[[gnu::visibility("default")]] extern char __snd_ctl_dravik_open_dlsym_control_001;

int _snd_ctl_dravik_open(snd_ctl_t **control, const char *name, snd_config_t *, snd_config_t *configuration,
                         int mode) {
  return dravik::sim::open_control_interface(control, name, configuration, mode);
}

char __snd_ctl_dravik_open_dlsym_control_001;
}
