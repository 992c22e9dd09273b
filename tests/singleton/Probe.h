#pragma once

#include "OrvSingleton.h"

#include <QThread>

void countProbeConstruction();

// Slow to construct, so that racing threads pile up on the lock.
class Probe : public OrvSingleton<Probe>
{
public:
    Probe()
    {
        countProbeConstruction();
        QThread::msleep(20);
    }
    int setupCalls = 0;

protected:
    void setupInstance() override { ++setupCalls; }
};
