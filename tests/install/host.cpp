#include "host.c"
