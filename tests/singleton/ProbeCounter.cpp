#include <atomic>

static std::atomic<int> constructions{0};

void countProbeConstruction() { ++constructions; }
int probeConstructions() { return constructions.load(); }
