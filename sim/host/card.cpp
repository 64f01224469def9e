// The memory card of a board: an image, and the actions on it.

#include "host/card.hpp"
#include "board/settings_text.hpp"
#include "host/board_directory.hpp"
#include "host/card_in_hand.hpp"
#include "host/card_journal.hpp"
#include "host/card_mount.hpp"
#include "host/card_repair.hpp"
#include "host/card_users.hpp"

#include <cerrno>
#include <cstring>
#include <filesystem>
#include <unistd.h>

namespace dravik::sim {
namespace {

namespace files = std::filesystem;

constexpr uint32_t sectors_of_a_mebibyte = 2048;

bool move_file(const std::string &from, const std::string &to, std::string &error) {
  std::error_code code;
  files::create_directories(files::path{to}.parent_path(), code);
  files::rename(from, to, code);
  if (code)
    error = to + ": " + code.message();
  return !code;
}

bool make_image(const std::string &path, uint32_t mebibytes, std::string &error) {
  const uint32_t sectors = mebibytes * sectors_of_a_mebibyte;
  const sector record = boot_record_for(sectors);
  if (!write_file(path, {reinterpret_cast<const char *>(record.data()), record.size()}, error))
    return false;
  if (::truncate(path.c_str(), static_cast<off_t>(uint64_t{sectors} * sector_bytes)) == 0)
    return true;
  error = path + ": " + std::strerror(errno);
  return false;
}

bool is_mounted(const std::string &board) {
  return read_mount_state(board) != mount_state::none;
}

bool unmount_if_mounted(const std::string &board, mount_end end, std::string &error) {
  return !is_mounted(board) || unmount_files(board, end, error);
}

/// As the board does: silently if there is nothing to mount.
void mount_if_possible(const std::string &board) {
  std::string error;
  const mount_way way = card_is_locked(board) ? mount_way::read_only : mount_way::writable;
  [[maybe_unused]] const bool is_mounted = mount_files(board, way, error);
}

/// The kernel does not unmount a card that is removed, and does not mount one that is inserted. A board may have a
/// script that does both.
bool script_follows_card(const std::string &board) {
  std::string settings;
  std::string error;
  return read_text_in_board(board, "board.conf", settings, error) &&
         value_of(settings, "card_mounts") == "script";
}

bool release(const std::string &board, std::string &error) {
  return script_follows_card(board) || !is_mounted(board)
             ? unmount_if_mounted(board, mount_end::unmounted, error)
             : leave_mount_without_card(board, error);
}

bool take_out(const std::string &board, std::string &error) {
  const card_files card{board};
  return release(board, error) && begin_report(board, error) &&
         move_file(card.image(), card.image_out_of_slot(), error) && report_card(board, error);
}

bool put_in(const std::string &board, card_lock lock, std::string &error) {
  const card_files card{board};
  if (!has_card(board)) {
    error = board + ": has no memory card";
    return false;
  }
  if (card_is_in(board) && !take_out(board, error))
    return false;
  return replace_file(card.lock_line(), lock == card_lock::on ? "1\n" : "0\n", error) &&
         outlive_pull(board, error) && begin_report(board, error) &&
         move_file(card.image_out_of_slot(), card.image(), error);
}

bool put_in_and_mount(const std::string &board, card_lock lock, std::string &error) {
  if (!put_in(board, lock, error) || !report_card(board, error))
    return false;
  mount_if_possible(board);
  return true;
}

} // namespace

bool card_is_in(const std::string &board) {
  std::error_code code;
  return files::exists(card_files{board}.image(), code);
}

bool has_card(const std::string &board) {
  std::error_code code;
  return card_is_in(board) || files::exists(card_files{board}.image_out_of_slot(), code);
}

bool card_is_locked(const std::string &board) {
  std::string level;
  std::string error;
  return read_file(card_files{board}.lock_line(), level, error) && level.starts_with('1');
}

const char *description_of_mount(const std::string &board) {
  constexpr const char *names[] = {"not mounted", "mounted read-only", "mounted"};
  return is_pulled(board) ? "mount of a removed card" : names[static_cast<size_t>(read_mount_state(board))];
}

bool make_card(const std::string &board, uint32_t mebibytes, std::string &error) {
  const card_in_hand hand{board};
  const card_files card{board};
  if (!finish_interrupted(board, error))
    return false;
  if (has_card(board)) {
    error = board + ": already has a memory card";
    return false;
  }
  std::string said;
  const partition place = first_partition(boot_record_for(mebibytes * sectors_of_a_mebibyte),
                                          uint64_t{mebibytes} * sectors_of_a_mebibyte);
  if (!make_image(card.fresh_image(), mebibytes, error))
    return false;
  if (make_file_system(card.fresh_image(), place, {"-F", "32"}, &said) == 0)
    return move_file(card.fresh_image(), card.image_out_of_slot(), error) &&
           put_in_and_mount(board, card_lock::off, error);
  error = "mkfs.vfat: " + said;
  ::unlink(card.fresh_image().c_str());
  return false;
}

bool insert_card(const std::string &board, card_lock lock, std::string &error) {
  const card_in_hand hand{board};
  if (!finish_interrupted(board, error))
    return false;
  return script_follows_card(board) ? put_in_and_mount(board, lock, error)
                                    : put_in(board, lock, error) && report_arrival(board, error);
}

bool remove_card(const std::string &board, std::string &error) {
  const card_in_hand hand{board};
  return finish_interrupted(board, error) && (!card_is_in(board) || take_out(board, error));
}

bool mount_card(const std::string &board, bool read_only, std::string &error) {
  const card_in_hand hand{board};
  const bool was_mounted = is_mounted(board);
  if (!finish_interrupted(board, error))
    return false;
  // A mount that was interrupted after its record is complete now, but was never visible.
  if (!was_mounted && !unmount_if_mounted(board, mount_end::unmounted, error))
    return false;
  return mount_files(board, read_only || card_is_locked(board) ? mount_way::read_only : mount_way::writable,
                     error);
}

bool make_mount_read_only(const std::string &board, std::string &error) {
  const card_in_hand hand{board};
  return finish_interrupted(board, error) && remount_read_only(board, error);
}

bool unmount_card(const std::string &board, unmount_way way, std::string &error) {
  const card_in_hand hand{board};
  const bool was_mounted = is_mounted(board);
  if (!finish_interrupted(board, error))
    return false;
  if (was_mounted && !is_mounted(board))
    return true; // the rest of an unmount that was interrupted
  if (way == unmount_way::if_unused && is_mounted(board) && is_in_use(card_files{board}.mount_point())) {
    error = "target is busy.";
    return false;
  }
  return unmount_files(board, mount_end::unmounted, error);
}

bool restart_card(const std::string &board, std::string &error) {
  const card_in_hand hand{board};
  if (!finish_interrupted(board, error))
    return false;
  if (!card_is_in(board) && !is_pulled(board))
    return true;
  if (!unmount_if_mounted(board, mount_end::abandoned, error))
    return true; // what cannot be written to the card remains mounted
  if (!report_card(board, error))
    return false;
  mount_if_possible(board);
  return true;
}

} // namespace dravik::sim
