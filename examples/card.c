/* The memory card: its state, its size and its recordings.
 *
 * Build:  cc -std=c99 card.c -o card -ldravik
 * Run:    ./card on the device, or on a simulated board:
 *         dravik-sim new board && mkdir board/tmp/mmcblk0p1/REC
 *         dravik-sim run board -- ./card */
#include <dravik.h>

#include <stdio.h>

static const char *if_set(uint8_t status, enum dravik_card_status bit, const char *name) {
  return (status & bit) != 0 ? name : "";
}

static int print_state(void) {
  uint8_t status;
  const int result = sd_card_check(&status);
  printf("memory card:%s%s%s%s%s%s\n", if_set(status, DRAVIK_CARD_PRESENT, " present"),
         if_set(status, DRAVIK_CARD_LOCKED, " write-protected"),
         if_set(status, DRAVIK_CARD_PARTITIONED, " partitioned"),
         if_set(status, DRAVIK_CARD_MOUNTED, " mounted"), if_set(status, DRAVIK_CARD_FAT32, " FAT32"),
         if_set(status, DRAVIK_CARD_WRITABLE, " writable"));
  return result;
}

static void print_sizes(void) {
  uint32_t sectors;
  const int card = sd_card_get_raw_size(&sectors);
  printf("%d MiB (%u sectors), file system %d MiB, free %d MiB\n", card, sectors, sd_card_get_part_size(),
         sd_card_get_free_space());
}

static int print_recordings(void) {
  struct rec_file_list list;
  if (parse_rec_file_list(&list) != 0)
    return 1;
  printf("recordings: %d normal (%d MiB), %d event\n", list.normal_count, list.normal_size, list.event_count);
  return 0;
}

static int fail(const char *problem) {
  fprintf(stderr, "card: %s\n", problem);
  return 1;
}

int main(int argc, char **argv) {
  (void)argc;
  (void)argv;
  if (gpio_init() != 0) /* the write-protect switch is a GPIO line */
    return fail("no GPIO driver; run it on a board, or under dravik-sim");
  const int state = print_state();
  gpio_exit();
  if (state != 0)
    return fail("memory card not usable");
  print_sizes();
  return print_recordings() == 0 ? 0 : fail("no recordings directory; see /tmp/dravik.log");
}
