#pragma once

#include "OrvSingleton.h"

#include <QList>
#include <QMap>
#include <QMutex>
#include <QString>

#include <memory>

class OrvMimeConverter;
class QMimeData;

// One item of a pasteboard (a drag or the clipboard): the bytes of every type
// (uniform type identifier) it is offered in.
using OrvPasteboardItem = QMap<QString, QByteArray>;

// The converters between pasteboard types and mime types, asked by the host's
// drop and paste handling. Thread-safe.
class OrvMimeConverterRegistry : public OrvSingleton<OrvMimeConverterRegistry>
{
public:
    void add(OrvMimeConverter* converter);
    void remove(OrvMimeConverter* converter);
    QList<OrvMimeConverter*> converters() const;

    // What a drop of these items gives the application: for every type the
    // items offer and every converter that takes it, the converted data under
    // the converter's mime type. A converter whose answer is empty adds nothing.
    std::unique_ptr<QMimeData> mimeDataForPasteboard(const QList<OrvPasteboardItem>& items) const;

private:
    friend class OrvSingleton<OrvMimeConverterRegistry>;
    OrvMimeConverterRegistry() = default;
    mutable QMutex myMutex;
    QList<OrvMimeConverter*> myConverters;
};
