#include "empty_call.h"

void YraBenchEmptyCall(unsigned int, int, const char*, const char*, unsigned int, const char*,
                       ...) {}
