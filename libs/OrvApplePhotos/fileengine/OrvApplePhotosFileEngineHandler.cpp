#include "OrvApplePhotosFileEngineHandler.h"

#include "OrvApplePhotosFile.h"
#include "OrvApplePhotosFileEngine.h"

QAbstractFileEngine* OrvApplePhotosFileEngineHandler::create(const QString& fileName) const
{
    const QPair<QString, QString> split = OrvApplePhotosFile::splitPathAndFile(fileName);
    if (split.first.isEmpty())
        return nullptr;
    return new OrvApplePhotosFileEngine(fileName, split.first, split.second);
}
