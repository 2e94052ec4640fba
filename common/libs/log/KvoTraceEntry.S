// __KvoTrace as far as a line that nobody will read gets.
//
// A variadic function in C saves its arguments before it can look at the first. This entry looks at
// the class and the level only and goes on to KvoTraceAdmitted, with every argument where it was,
// when the line is wanted. It answers the same question as kvolog::Admits, from the same data.
//
//   edi class   esi level   rdx, rcx, r8, r9 and the stack: the rest   al: vector registers in use
//   r10 the mapping   r11 the class whose level is asked for
//
// An id that is none takes its low byte's way, on which everything can be read, and is found out
// before its line would be written. Another process may change a level between two looks at it; the
// last look decides.
#include <cet.h>

#define CLASSES 201
#define LEVEL 4(%r10, %r11, 4)
#define ABOVE 4096(%r10, %r11)

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
  movzbl %dil, %r11d
  cmpl $0, LEVEL
  jne .Ldecide
  movzbl ABOVE, %r11d
  cmpl $0, LEVEL
  jne .Ldecide
  movzbl ABOVE, %r11d
  cmp %esi, LEVEL // most lines end here, below the level of their part of the tree
  jbe .Lperhaps
  ret
.Lperhaps:
  cmpl $0, LEVEL
  jne .Ldecide
  movzbl ABOVE, %r11d
.Ldecide:
  mov LEVEL, %r11d
  dec %r11d // no level at all is above all levels
  cmp %esi, %r11d
  jae .Lsuppressed
  cmp $CLASSES, %edi
  jb KvoTraceAdmitted
.Lsuppressed:
  ret
  .cfi_endproc
  .size __KvoTrace, . - __KvoTrace

  .section .note.GNU-stack, "", @progbits
