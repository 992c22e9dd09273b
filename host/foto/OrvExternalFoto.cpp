#include "OrvExternalFoto.h"

QList<OrvExternalId> OrvExternalFoto::allPersonsOnThisFoto() const
{
    QList<OrvExternalId> persons;
    if (!myData)
        return persons;
    persons.reserve(myData->faces().size());
    for (const OrvExternalFace& face : myData->faces())
        persons.append(face.id());
    return persons;
}
