/* The volume of the speaker, and the microphone. */
#ifndef VOLUME_H
#define VOLUME_H

int microphone_is_on(void);

/* Set the mixer to the displayed volume and microphone state. */
void volume_set_up(void);

#endif
