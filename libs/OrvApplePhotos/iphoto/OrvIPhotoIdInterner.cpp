#include "OrvIPhotoIdInterner.h"

#include <QHash>

#include <algorithm>
#include <cstring>

namespace OrvIPhoto {

OrvExternalId IdInterner::intern(QByteArrayView text)
{
    if ((myEntries.size() + 1) * 2 > mySlots.size())
        grow();
    const size_t hash = qHashBits(text.data(), size_t(text.size()), QHashSeed::globalSeed());
    const size_t mask = mySlots.size() - 1;
    for (size_t i = hash & mask;; i = (i + 1) & mask) {
        const quint32 slot = mySlots[i];
        if (slot == 0) {
            mySlots[i] = quint32(myEntries.size() + 1);
            myEntries.push_back({hash, myBytes.size(), size_t(text.size()), (myAccess.*myMake)(QString::fromUtf8(text))});
            myBytes.append(text.data(), size_t(text.size()));
            return myEntries.back().value;
        }
        const Entry& entry = myEntries[slot - 1];
        if (entry.hash == hash && entry.length == size_t(text.size())
            && std::memcmp(myBytes.data() + entry.offset, text.data(), entry.length) == 0)
            return entry.value;
    }
}

void IdInterner::grow()
{
    std::vector<quint32> table(std::max<size_t>(1024, mySlots.size() * 2), 0);
    const size_t mask = table.size() - 1;
    for (size_t e = 0; e < myEntries.size(); ++e) {
        size_t i = myEntries[e].hash & mask;
        while (table[i] != 0)
            i = (i + 1) & mask;
        table[i] = quint32(e + 1);
    }
    mySlots.swap(table);
}

} // namespace OrvIPhoto
