/* What of a name a terminal would obey instead of showing it. Valid C and C++. */
#ifndef TERMINAL_H
#define TERMINAL_H

#include <stddef.h>

/* Whether three bytes are a character of UTF-8 that turns the direction of what follows or ends the
 * line. */
static inline int TurnsText(const unsigned char* c) {
  if (c[0] != 0xE2) return 0;
  if (c[1] == 0x80) return c[2] == 0x8E || c[2] == 0x8F || (c[2] >= 0xA8 && c[2] <= 0xAE);
  return c[1] == 0x81 && c[2] >= 0xA6 && c[2] <= 0xA9;
}

/* The length of the control character that a text, which ends with a NUL, starts with, those of the
 * upper half and of direction included; 0 where it starts with none. */
static inline size_t ControlLength(const char* text) {
  const unsigned char* c = (const unsigned char*)text;
  if (c[0] < 0x20 || c[0] == 0x7F) return 1;
  if (c[0] == 0xC2 && c[1] >= 0x80 && c[1] <= 0x9F) return 2;
  if (c[0] == 0xD8 && c[1] == 0x9C) return 2;
  return TurnsText(c) ? 3 : 0;
}

#endif
