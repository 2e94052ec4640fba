// __KvoTrace as far as a line that nobody will read gets.
//
// A variadic function in C saves its arguments before it can look at the first. This entry looks at
// the class and the level only and goes on to KvoTraceAdmitted, with every argument where it was,
// when the line is wanted. It answers the same question as kvolog::Admits, from the same data, and
// like it looks at each level once: another process may change it at any time, and a line that the
// old and the new level admit is written.
//
//   edi class   esi level   rdx, rcx, r8, r9 and the stack: the rest   al: vector registers in use
//   r10 the mapping   r11 a class on the way to the root, then its level
//
// An id that is none takes its low byte's way, on which everything can be read, and is found out
// before its line would be written. What the numbers stand for is asserted beside struct Mapping.
#include <cet.h>

  .equ classes, 201
  .equ levels, 4
  .equ above, 4096
  .equ step, 256

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
  .p2align 6 // the way of a process with a log: a whole line of the cache at its first jump
.Lask:
  movzbl %dil, %r11d
  mov levels(%r10, %r11, 4), %r11d
  test %r11d, %r11d
  jne .Ldecide
  movzbl %dil, %r11d
  movzbl above(%r10, %r11), %r11d
  mov levels(%r10, %r11, 4), %r11d
  test %r11d, %r11d
  jne .Ldecide
  movzbl %dil, %r11d
  movzbl above + step(%r10, %r11), %r11d
  mov levels(%r10, %r11, 4), %r11d
  cmp %esi, %r11d // most lines end here, below the level of their part of the tree
  jbe .Lperhaps
  ret
.Lperhaps:
  test %r11d, %r11d
  jne .Ldecide
  movzbl %dil, %r11d
  movzbl above + 2 * step(%r10, %r11), %r11d
  mov levels(%r10, %r11, 4), %r11d
.Ldecide:
  dec %r11d // no level at all is above all levels
  cmp %esi, %r11d
  jae .Lsuppressed
  cmp $classes, %edi
  jb KvoTraceAdmitted
.Lsuppressed:
  ret
  .cfi_endproc
  .size __KvoTrace, . - __KvoTrace

  .section .note.GNU-stack, "", @progbits
