// The steps by which a memory card is mounted and unmounted; each is one rename, and every one can be the
// last of a killed process.
//
// Invariant: one file decides where the files of the card are. While card/files (the record) exists, the card
// is mounted and the directory holds its files; otherwise the image does.
//
//   mount     card/mounting is filled from the image, which is marked as unclean by one byte; the record is renamed
//             into place; the contents of the mount point become card/below; card/mounting becomes the mount point
//   unmount   card/mmcblk0.new is written and renamed over the image; the mount point becomes card/unmounted;
//             the record is removed; card/below becomes the mount point; card/unmounted is removed; the image is
//             marked as clean by one byte
//   pull      card/mmcblk0.new is written and renamed over the image; card/pulled is created; the image leaves the
//             slot. card/pulled changes before a card comes in again, so that without this change an image in the
//             slot shows that the pull did not happen. It is removed after the record.
//
// While card/pulled exists, the image has the files, and the directory is what a dead mount shows.
//
// card/mounting and card/unmounted show how far a killed process came: with the record, card/mounting is
// completed; without it, it is a partial copy. card/unmounted exists only while the image has every file.
#pragma once

#include <string>

namespace dravik::sim {

// Return false and set `error` on failure.

/// Complete or undo what a killed process began. Every action on a card begins with it. Fails if the card's
/// files or the directories above them are symbolic links.
[[nodiscard]] bool finish_interrupted(const std::string &board, std::string &error);

/// Make the staged directory the mount point; the record has been written.
[[nodiscard]] bool put_in_place(const std::string &board, std::string &error);

/// Remove the mount point's files, which the image has, and restore what was there before.
[[nodiscard]] bool put_away(const std::string &board, std::string &error);

/// Note that the mounted card is about to be pulled; the image has its files.
[[nodiscard]] bool begin_pull(const std::string &board, std::string &error);
/// Note that a card is about to be put in while the mount of a pulled one exists, if there is one.
[[nodiscard]] bool outlive_pull(const std::string &board, std::string &error);
/// Whether the mount is that of a card that was pulled.
bool is_pulled(const std::string &board);

/// Unmount a card that cannot store its files any more: they stay in the directory.
[[nodiscard]] bool leave_files_behind(const std::string &board, std::string &error);

} // namespace dravik::sim
