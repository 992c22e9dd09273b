#include "Probe.h"

extern "C" __attribute__((visibility("default"))) void* probeFromA() { return Probe::instance(); }
