// __KvoTrace as far as a line that nobody will read gets.
//
// A variadic function in C saves its arguments before it can look at the first. This entry looks at
// the class and the level only and goes on to KvoTraceAdmitted, with every argument where it was,
// when the line is wanted. It answers the same question as kvolog::Admits, from the same data.
//
//   edi class   esi level   rdx, rcx, r8, r9 and the stack: the rest   al: vector registers in use
//   r10 the mapping   r11 the class whose level is asked for, then that level
#include <cet.h>

#define CLASSES 201
#define LEVEL_OF(id) 4(%r10, id, 4)
#define ABOVE(step) 4096 + step - 1(%r10, %rdi, 4)

// Goes on to the line's text if its level is not below the class's, which stands in r11d.
.macro DECIDE
  cmp %esi, %r11d
  jbe KvoTraceAdmitted
  ret
.endm

  .text
  .globl __KvoTrace
  .type __KvoTrace, @function
  .p2align 6
__KvoTrace:
  .cfi_startproc
  _CET_ENDBR
  mov kvolog_filter(%rip), %r10
  test %r10, %r10
  jne .Lask
  ret
.Lask:
  cmp $CLASSES, %edi
  jae .Lsuppressed
  mov %edi, %edi
  mov LEVEL_OF(%rdi), %r11d
  test %r11d, %r11d
  jne .Ldecide
  movzbl ABOVE(1), %r11d
  mov LEVEL_OF(%r11), %r11d
  test %r11d, %r11d
  jne .Ldecide
  movzbl ABOVE(2), %r11d
  mov LEVEL_OF(%r11), %r11d
  test %r11d, %r11d
  je .Ldeepest
  DECIDE
.Ldeepest:
  movzbl ABOVE(3), %r11d
  mov LEVEL_OF(%r11), %r11d
  test %r11d, %r11d
  je .Lsuppressed
.Ldecide:
  DECIDE
.Lsuppressed:
  ret
  .cfi_endproc
  .size __KvoTrace, . - __KvoTrace

  .section .note.GNU-stack, "", @progbits
