/* The board: readings of its devices, and the lights that show the camera's state. */
#ifndef BOARD_H
#define BOARD_H

#include <stdint.h>

/* GPIO lines of the demonstration, all active high. dravik.h contains those of the write-protect switch and
 * of the LED. */
enum { LINE_PARKED = 60, LINE_NEXT = 61, LINE_OK = 62 };

struct card {
  uint8_t status;
  uint32_t sectors;
  int32_t size_mib; /* of the whole card */
  int32_t part_mib, free_mib;
  int is_usable; /* healthy, and its directory and its sizes can be read */
};

struct board {
  int has_lines, has_sensor, has_temperature;
  int is_parked;
  int32_t x_mg, y_mg, z_mg; /* acceleration to the right, forwards and upwards, in thousandths of g */
  int32_t temperature_c10;  /* tenths of a degree Celsius */
  int32_t monitor;          /* 1: attached, 0: not, -1: unknown */
  struct card card;
};

/* The state at the last board_look(). */
const struct board *board(void);

void board_open(void);
void board_close(void);

/* Read what changes fast at each call, and the rest twice per second. Return 1 if something changed. */
int board_look_at_movement(void);
int board_look_around(void);

enum key { KEY_NONE, KEY_NEXT, KEY_OK, KEY_BACK };

/* Return the key that was used since the last call. NEXT acts when it is pressed. OK acts when it is let go;
 * held for `looks_to_hold` calls, it is BACK. */
enum key board_key(int looks_to_hold);

#endif
