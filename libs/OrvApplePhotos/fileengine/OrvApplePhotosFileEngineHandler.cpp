#include "OrvApplePhotosFileEngineHandler.h"

#include "OrvApplePhotosFile.h"
#include "OrvApplePhotosFileEngine.h"

OrvFileEnginePtr OrvApplePhotosFileEngineHandler::create(const QString& fileName) const
{
    const QPair<QString, QString> split = OrvApplePhotosFile::splitPathAndFile(fileName);
    if (split.first.isEmpty())
        return nullptr;
    return OrvFileEnginePtr(new OrvApplePhotosFileEngine(fileName, split.first, split.second));
}
