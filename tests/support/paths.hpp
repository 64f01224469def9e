// Where the build has put what tests run, for the targets that name it by dravik_test_paths().
#pragma once

extern "C" {

extern const char alarm_path[];
extern const char calls_the_host_path[];
extern const char dashcam_files[];
extern const char dashcam_path[];
extern const char draws_a_pixel_path[];
extern const char dravik_art_path[];
extern const char dravik_ctl_path[];
extern const char event_log_program_path[];
extern const char examples_prefix[];
extern const char flashes_path[];
extern const char guest_path[];
extern const char launcher_path[];
extern const char library_path[];
extern const char linked_statically_path[];
extern const char plays_a_sound_path[];
extern const char preloaded_first[];
extern const char program_path[];
extern const char reports_a_page_path[];
extern const char sound_card_directory[];
extern const char taken_calls_directory[];

} // extern "C"
