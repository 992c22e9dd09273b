#pragma once

#include "OrvSingleton.h"

#include <QAtomicInt>

// The host program says who it is; plug-ins compare against the id.
class OrvProgramConfig : public OrvSingleton<OrvProgramConfig>
{
public:
    int programID() const { return myProgramId.loadRelaxed(); }
    void setProgramID(int id) { myProgramId.storeRelaxed(id); }

private:
    friend class OrvSingleton<OrvProgramConfig>;
    OrvProgramConfig() = default;
    QAtomicInt myProgramId{0};
};
