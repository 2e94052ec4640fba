#include "YraRW.h"
YraRW::YraRW() = default;
YraRW::~YraRW() = default;
