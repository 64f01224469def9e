/* An application that knows nothing of simulated boards: colours the pixel of a column and a row, and gives
 * status 7. */
#define _GNU_SOURCE
#include <fcntl.h>
#include <linux/fb.h>
#include <stdint.h>
#include <stdio.h>
#include <stdlib.h>
#include <sys/ioctl.h>
#include <sys/mman.h>

int main(int count, char **arguments) {
  struct fb_fix_screeninfo fixed;
  struct fb_var_screeninfo variable;
  const int screen = open("/dev/fb0", O_RDWR);
  if (count != 4 || ioctl(screen, FBIOGET_FSCREENINFO, &fixed) != 0 ||
      ioctl(screen, FBIOGET_VSCREENINFO, &variable) != 0)
    return 1;
  const unsigned long bytes = variable.bits_per_pixel / 8;
  const unsigned long column = strtoul(arguments[1], NULL, 10);
  const unsigned long row = strtoul(arguments[2], NULL, 10);
  const unsigned long colour = strtoul(arguments[3], NULL, 16);
  uint8_t *memory = mmap(NULL, fixed.smem_len, PROT_READ | PROT_WRITE, MAP_SHARED, screen, 0);
  if (memory == MAP_FAILED)
    return 2;
  for (unsigned long i = 0; i < bytes; ++i)
    memory[row * fixed.line_length + column * bytes + i] = (uint8_t)(colour >> (8 * i));
  FILE *log = fopen("/tmp/dravik.log", "a");
  if (log == NULL || fprintf(log, "drawn\n") < 0 || fclose(log) != 0)
    return 3;
  return 7;
}
