#pragma once

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

class QMimeData;

// A converter between pasteboard types (uniform type identifiers) and the
// application's mime types, with the operations of Qt's QUtiMimeConverter,
// which Qt has only on macOS (6.5 and later). Elsewhere a converter derives
// from this class; constructing it registers it with OrvMimeConverterRegistry,
// destroying it takes it out again.
class OrvMimeConverter
{
public:
    OrvMimeConverter();
    virtual ~OrvMimeConverter();
    OrvMimeConverter(const OrvMimeConverter&) = delete;
    OrvMimeConverter& operator=(const OrvMimeConverter&) = delete;

    // Application data of mime into pasteboard items of uti.
    virtual QList<QByteArray> convertFromMime(const QString& mime, const QVariant& data, const QString& uti) const = 0;
    virtual QString utiForMime(const QString& mime) const = 0;
    virtual QString mimeForUti(const QString& uti) const = 0;
    // Pasteboard items of uti (one byte array each) into application data of mime.
    virtual QVariant convertToMime(const QString& mime, const QList<QByteArray>& data, const QString& uti) const = 0;
    // How many pasteboard items the mime data makes.
    virtual int count(const QMimeData* mimeData) const;
    // Not virtual, as in Qt: the registry asks whether uti reads back as mime.
    bool canConvert(const QString& mime, const QString& uti) const { return !mime.isEmpty() && mime == mimeForUti(uti); }
};
