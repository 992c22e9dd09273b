#include "Probe.h"

extern "C" __attribute__((visibility("default"))) void* probeFromB() { return Probe::instance(); }
