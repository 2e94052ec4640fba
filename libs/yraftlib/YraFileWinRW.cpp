// The C functions of the queue store: check, forward, answer.
#include "yrafiletransfer.h"
