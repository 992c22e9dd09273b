#pragma once

// One id per distinct key: a foto's key recurs in every album that holds it,
// and all of them can share one id. An open-addressing table over one byte
// arena: far fewer cache misses than a hash of byte arrays. Private to the
// iphoto folder.

#include "OrvExternalId.h"
#include "OrvExternalPools.h"

#include <QByteArrayView>
#include <QString>

#include <string>
#include <vector>

namespace OrvIPhoto {

class Q_DECL_HIDDEN IdInterner
{
public:
    using Make = OrvExternalId (OrvExternalAccess::*)(const QString&) const;
    IdInterner(const OrvExternalAccess& access, Make make) : myAccess(access), myMake(make) {}

    OrvExternalId intern(QByteArrayView text);

private:
    struct Entry
    {
        size_t hash;
        size_t offset;
        size_t length;
        OrvExternalId value;
    };

    void grow();

    const OrvExternalAccess& myAccess;
    const Make myMake;
    std::vector<quint32> mySlots;
    std::vector<Entry> myEntries;
    std::string myBytes;
};

} // namespace OrvIPhoto
