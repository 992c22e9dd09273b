#include "OrvFoto.h"

OrvFoto::OrvFoto(const OrvFotoKey& key)
    : myDatabase(key.database()), myId(key.externalId()), myPath(key.filePath())
{
}

OrvFoto::OrvFoto(const OrvMediaDescriptor& descriptor)
    : myPath(descriptor.fileInfo().absoluteFilePath())
{
    if (descriptor.filePath().isEmpty())
        myPath.clear();
}

size_t OrvFoto::hash() const
{
    return myId.isValid() ? myId.hash() : qHash(myPath);
}

QString OrvFoto::toString() const
{
    return myId.isValid() ? myId.toString() : myPath;
}
