// The host of host.c in C++11, the oldest C++ that the public headers support.
#include "host.c"
