// What a file has besides its bytes.
#pragma once

#include "Endpoints.h"

// Gives a file the time of its last modification and, where the target takes them, the extended
// attributes of the user that its source has.
//
// source  a descriptor, or -1
void KeepAttributes(const FileInfo& info, int source, int target);
