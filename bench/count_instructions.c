/* A plug-in of qemu-arm that counts the guest's instructions between marks: system calls of
   arm_counts.cpp. Declares what it uses of QEMU's plug-in interface, version 1, whose header no package of Debian
   contains. */

#include <inttypes.h>
#include <stddef.h>
#include <stdint.h>
#include <stdio.h>

#include "arm_marks.h"

struct qemu_plugin_tb;
enum { add_to_counter = 0 };

size_t qemu_plugin_tb_n_insns(const struct qemu_plugin_tb *block);
void qemu_plugin_register_vcpu_tb_trans_cb(uint64_t id,
                                           void (*call)(uint64_t id, struct qemu_plugin_tb *block));
void qemu_plugin_register_vcpu_tb_exec_inline(struct qemu_plugin_tb *block, int operation, void *counter,
                                              uint64_t value);
void qemu_plugin_register_vcpu_syscall_cb(uint64_t id,
                                          void (*call)(uint64_t id, unsigned cpu, int64_t number, uint64_t a1,
                                                       uint64_t a2, uint64_t a3, uint64_t a4, uint64_t a5,
                                                       uint64_t a6, uint64_t a7, uint64_t a8));

__attribute__((visibility("default"))) extern const int qemu_plugin_version;
__attribute__((visibility("default"))) int qemu_plugin_install(uint64_t id, const void *info, int count,
                                                               char **arguments);

const int qemu_plugin_version = 1;

static uint64_t executed; /* since the program started */
static uint64_t first;    /* value at the last mark `start` */
static uint64_t sum, calls;

/* A block of code has one exit, after its last instruction. */
static void count_block(uint64_t id, struct qemu_plugin_tb *block) {
  (void)id;
  qemu_plugin_register_vcpu_tb_exec_inline(block, add_to_counter, &executed, qemu_plugin_tb_n_insns(block));
}

static void report(void) {
  printf("%" PRIu64 "\n", (sum + calls / 2) / calls);
  fflush(stdout);
  sum = calls = 0;
}

static void see_system_call(uint64_t id, unsigned cpu, int64_t number, uint64_t a1, uint64_t a2, uint64_t a3,
                            uint64_t a4, uint64_t a5, uint64_t a6, uint64_t a7, uint64_t a8) {
  (void)id, (void)cpu, (void)number, (void)a3, (void)a4, (void)a5, (void)a6, (void)a7, (void)a8;
  if (a1 != MARK_MAGIC)
    return;
  if (a2 == MARK_START) {
    first = executed;
  } else if (a2 == MARK_STOP) {
    sum += executed - first;
    ++calls;
  } else if (a2 == MARK_REPORT && calls != 0) {
    report();
  }
}

int qemu_plugin_install(uint64_t id, const void *info, int count, char **arguments) {
  (void)info, (void)count, (void)arguments;
  qemu_plugin_register_vcpu_tb_trans_cb(id, count_block);
  qemu_plugin_register_vcpu_syscall_cb(id, see_system_call);
  return 0;
}
