#pragma once

// Numbers and dates of the library file's texts, as the walker, the builder and
// the parser read them. Private to the iphoto folder.

#include "OrvQtCompat.h"

#include <QByteArray>
#include <QByteArrayView>
#include <QDateTime>
#include <QString>

#include <cmath>

namespace OrvIPhoto {

inline bool isAscii(QByteArrayView text)
{
    for (char c : text) {
        if (uchar(c) >= 0x80)
            return false;
    }
    return true;
}

// A text as a number as QString::toDouble reads it; 0 when it is none.
inline double toDouble(QByteArrayView text)
{
    bool ok = false;
    const double value = isAscii(text) ? QByteArray::fromRawData(text.data(), text.size()).toDouble(&ok)
                                       : QString::fromUtf8(text).toDouble(&ok);
    return ok && std::isfinite(value) ? value : 0.0;
}

// The epoch plus whole seconds, in local time: what iPhotoEpoch().addSecs gives, for less.
inline QDateTime dateAfterEpoch(double wholeSeconds, qint64 epochMSecs)
{
    // Beyond some million years QDateTime has no answer.
    if (std::abs(wholeSeconds) > 1e14)
        return QDateTime();
    return OrvQt::localFromMSecs(epochMSecs + qint64(wholeSeconds) * 1000);
}

} // namespace OrvIPhoto
