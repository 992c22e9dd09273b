#pragma once

#include <QtCore/private/qabstractfileengine_p.h>

// Gives Qt an OrvApplePhotosFileEngine for every path that begins with
// "photokitfs:". Qt asks the handler about every path the process touches, so
// other paths cost one comparison.
class OrvApplePhotosFileEngineHandler : public QAbstractFileEngineHandler
{
public:
    QAbstractFileEngine* create(const QString& fileName) const override;
};
