#include "card_care.h"

#include "card_mount.h"
#include "notices.h"
#include "recorder.h"
#include "tell.h"

#include <dravik.h>

#include <stdio.h>
#include <sys/wait.h>

static int has_failed;

static void fail(const char *reason) {
  has_failed = 1;
  fprintf(stderr, "dashcam: card: %s\n", reason);
  tell("card: %s", reason);
  notice(NOTICE_CARD_ERROR);
}

/* The library runs all its commands, even after one failed. Checking or formatting a file system in use would
 * destroy it, so the card is unmounted first. */
static int is_unmounted(const struct card *card) {
  char reason[CARD_REASON];
  if ((card->status & DRAVIK_CARD_MOUNTED) == 0 || card_unmount(reason) == 0)
    return 1;
  fail(reason);
  return 0;
}

/* Reads the record of a repair. Its unmount fails: the card was unmounted before. */
static void look_at_repair(void) {
  static const char *const steps[] = {"unmount", "check", "mount"};
  enum { CHECK = 1, STEPS = 3, ERRORS_REPAIRED = 1 };
  char reason[CARD_REASON];
  FILE *record = fopen("/tmp/debugfs", "r");
  for (int step = 0, status; step < STEPS; ++step) {
    if (record == NULL || fscanf(record, "ret : %d ", &status) != 1)
      status = -1;
    const int exit_status = status >= 0 && WIFEXITED(status) ? WEXITSTATUS(status) : -1;
    if (step < CHECK || exit_status == 0 || (step == CHECK && exit_status == ERRORS_REPAIRED))
      continue;
    snprintf(reason, sizeof reason, "%s failed with exit status %d", steps[step], exit_status);
    fail(reason);
    break;
  }
  if (record != NULL)
    fclose(record);
}

static void begin(const char *what) {
  tell("card: %s", what);
  has_failed = 0;
  end_recording();
}

static void end(void) {
  if (!has_failed)
    tell("card: done");
}

void card_repair(const struct card *card) {
  begin("repair");
  if (is_unmounted(card)) {
    sd_card_check_fs();
    look_at_repair();
  }
  end();
}

void card_format(const struct card *card) {
  begin("format");
  if (!is_unmounted(card))
    return;
  if ((card->status & DRAVIK_CARD_PARTITIONED) != 0)
    sd_card_format();
  else
    sd_card_create_part(card->sectors);
  end();
}

int card_has_failed(void) {
  return has_failed;
}
