/* Screenshots on the memory card. */
#ifndef SCREENSHOT_H
#define SCREENSHOT_H

/* Save the screen and report the result on standard error. Return 0, or -1 if the panel is not 640 by 480 or
 * there is no memory card. */
int save_screen(void);

#endif
