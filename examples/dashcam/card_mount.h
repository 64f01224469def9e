/* The mount of the memory card. */
#ifndef CARD_MOUNT_H
#define CARD_MOUNT_H

/* Unmount the card before its file system is repaired or made anew. Gives 0, or -1 with a reason of at most
 * CARD_REASON bytes: if the card is busy, it names a program that uses it. */
enum { CARD_REASON = 96 };
int card_unmount(char reason[CARD_REASON]);

/* Unmount a card that was removed. The kernel keeps such a mount, also when a card is inserted again: then
 * everything that is written to it is lost. Programs that use it keep their open files. */
void card_detach(void);

/* Mount an inserted card; read-only if it is write-protected. */
void card_mount(void);

/* Whether the directory of the mounted card can be read. */
int card_is_readable(void);

#endif
