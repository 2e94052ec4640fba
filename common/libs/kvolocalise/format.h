// Holds a text against the arguments that it will be printed with.
#pragma once

// Answers whether `text` may be a printf format for arguments of these kinds: d for an int, s for a
// string. Conversions may carry flags, a width and a precision; they come in the order of the
// arguments, or all name their argument (%2$d), each argument once. Anything else does not fit: a
// text from a file must not reach beyond its arguments, nor leave out one of them.
bool KvoLocaliseFormatFits(const char* text, const char* kinds);
