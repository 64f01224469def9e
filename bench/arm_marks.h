/* Marks that arm_counts.cpp sets for count_instructions.c: arguments of a system call that ignores them. */
#ifndef DRAVIK_ARM_MARKS_H
#define DRAVIK_ARM_MARKS_H

#define MARK_MAGIC 0x6D61726BU
#define MARK_START 1U  /* count from here */
#define MARK_STOP 2U   /* to here: one call */
#define MARK_REPORT 3U /* print the instructions per call, and start again */

#endif
