/* Pictures of the screen on the memory card. */
#ifndef SCREENSHOT_H
#define SCREENSHOT_H

/* Saves what the screen shows, and says on standard error how that went. Gives 0, or -1 when the panel is not
 * 640 by 480 or the card is out. */
int save_screen(void);

#endif
