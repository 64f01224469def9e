/* The backlight at a brightness from 0 to 1000.
 *
 * Build:  cc -std=c99 backlight.c -o backlight -ldravik
 * Run:    ./backlight BRIGHTNESS on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./backlight 500 */
#include <dravik.h>

#include <stdio.h>
#include <stdlib.h>

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s BRIGHTNESS\n", argv[0]);
    return 2;
  }
  if (lcd_bl_init() != 1) {
    fprintf(stderr, "backlight: no backlight; run it on a board, or under dravik-sim\n");
    return 1;
  }
  lcd_bl_on();
  lcd_bl_set((int32_t)strtol(argv[1], NULL, 10));
  lcd_bl_exit();
  return 0;
}
