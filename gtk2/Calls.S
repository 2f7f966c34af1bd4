// The functions that Functions.h names. Each jumps to where its slot says: at first to firstCall, later to
// the library's function of its name. It passes the slot's address in r11, which no argument is passed in.

#include "gtk2/Functions.h"

#define SLOT_AND_JUMP(name)                      \
  .pushsection .rodata;                          \
  1: .string #name;                              \
  .popsection;                                   \
  .pushsection .data.rel.gtk2, "aw";             \
  2: .quad firstCall, 1b;                        \
  .popsection;                                   \
  .globl name; .hidden name;                     \
  .type name, @function;                         \
  .p2align 4;                                    \
  name: lea 2b(%rip), %r11;                      \
  jmp *(%r11);                                   \
  .size name, . - name;

  .pushsection .data.rel.gtk2, "aw"
  .p2align 3
  .globl gtk2Slots
  .hidden gtk2Slots
gtk2Slots:
  .popsection

  .text
  GTK2_FUNCTIONS(SLOT_AND_JUMP)

// Keeps the arguments, has the library loaded, and goes on to the function.
  .type firstCall, @function
firstCall:
  .cfi_startproc
  push %rbp
  .cfi_def_cfa_offset 16
  .cfi_offset %rbp, -16
  mov %rsp, %rbp
  .cfi_def_cfa_register %rbp
  push %rdi
  push %rsi
  push %rdx
  push %rcx
  push %r8
  push %r9
  push %rax  // how many of the vector registers hold arguments
  push %r11
  sub $128, %rsp
  movups %xmm0, (%rsp)
  movups %xmm1, 16(%rsp)
  movups %xmm2, 32(%rsp)
  movups %xmm3, 48(%rsp)
  movups %xmm4, 64(%rsp)
  movups %xmm5, 80(%rsp)
  movups %xmm6, 96(%rsp)
  movups %xmm7, 112(%rsp)
  call gtk2LoadOrEnd
  movups (%rsp), %xmm0
  movups 16(%rsp), %xmm1
  movups 32(%rsp), %xmm2
  movups 48(%rsp), %xmm3
  movups 64(%rsp), %xmm4
  movups 80(%rsp), %xmm5
  movups 96(%rsp), %xmm6
  movups 112(%rsp), %xmm7
  add $128, %rsp
  pop %r11
  pop %rax
  pop %r9
  pop %r8
  pop %rcx
  pop %rdx
  pop %rsi
  pop %rdi
  pop %rbp
  .cfi_def_cfa %rsp, 8
  jmp *(%r11)
  .cfi_endproc
  .size firstCall, . - firstCall

  .pushsection .data.rel.gtk2, "aw"
  .globl gtk2SlotsEnd
  .hidden gtk2SlotsEnd
gtk2SlotsEnd:
  .popsection

  .section .note.GNU-stack, "", @progbits
