// A call like the trace's that does nothing.
#pragma once

extern "C" __attribute__((visibility("default"), format(printf, 6, 7))) void YraBenchEmptyCall(
    unsigned int classId, int level, const char* file, const char* function, unsigned int line,
    const char* format, ...);
