/* The CRC-32 of a file, and the region of the device.
 *
 * Build:  cc -std=c99 checksums.c -o checksums -ldravik
 * Run:    ./checksums FILE on the device, or on a simulated board:
 *         dravik-sim new board
 *         dravik-sim run board -- ./checksums FILE */
#include <dravik.h>

#include <stdio.h>

int main(int argc, char **argv) {
  if (argc != 2) {
    fprintf(stderr, "usage: %s FILE\n", argv[0]);
    return 2;
  }
  const uint32_t crc = get_file_crc(argv[1]); /* DRAVIK_NONE is also a possible checksum */
  char code[3];
  const uint32_t region = get_area_code(code);
  printf("%08x %s\n", (unsigned)crc, argv[1]);
  if (region == DRAVIK_NONE)
    printf("no region\n");
  else
    printf("region %u: %s\n", (unsigned)region, code);
  return 0;
}
