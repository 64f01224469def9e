/* The board of a program that links the simulator, as tests do. A program that `dravik-sim run` has started
   is on its board from its start to its end. */
#pragma once

#ifdef __cplusplus
extern "C" {
#endif

/** Put this process, and the programs that it starts from now on, on a board. Not while other threads run.
    @param directory  absolute path of the board; NULL is no board: then the simulator does nothing. A path
                      that is not absolute leads nowhere. */
void dravik_sim_use_board(const char *directory);

/** Leave directories below /tmp to the host, in the place of those of the board. The paths of the board
    itself, such as /tmp/dravik.log, stay the board's.
    @param directories  absolute paths, separated by colons; NULL for none */
void dravik_sim_use_host_directories(const char *directories);

/** The board that this process is on.
    @return its directory; NULL if there is none */
const char *dravik_sim_board(void);

#ifdef __cplusplus
}
#endif
