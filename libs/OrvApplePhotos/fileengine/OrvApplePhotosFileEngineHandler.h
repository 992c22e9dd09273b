#pragma once

#include "OrvQtFileEngineApi.h"

// Gives Qt an OrvApplePhotosFileEngine for every path that begins with
// "photokitfs:". Qt asks the handler about every path the process touches, so
// other paths cost one comparison.
class OrvApplePhotosFileEngineHandler : public QAbstractFileEngineHandler
{
public:
    OrvFileEnginePtr create(const QString& fileName) const override;
};
