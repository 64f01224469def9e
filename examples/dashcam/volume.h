/* The loudspeaker's volume and the microphone. */
#ifndef VOLUME_H
#define VOLUME_H

int microphone_is_on(void);

/* Gives the mixer the volume and the microphone's state as they are shown. */
void volume_set_up(void);

#endif
