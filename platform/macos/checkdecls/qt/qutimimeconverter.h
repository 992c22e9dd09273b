#pragma once

// Qt's QUtiMimeConverter (QtGui, macOS only, Qt 6.5 and later), declared from
// Qt's documentation (doc.qt.io/qt-6/qutimimeconverter.html) for the Linux
// check of code that derives from it. Constructing a converter after the
// QGuiApplication registers it; Qt deletes heap-allocated ones at shutdown.

#include <QtGui/qtguiglobal.h>

#include <QByteArray>
#include <QList>
#include <QString>
#include <QVariant>

class QMimeData;

class QUtiMimeConverter
{
public:
    QUtiMimeConverter();
    virtual ~QUtiMimeConverter();

    // Not virtual: whether mime and uti convert into each other.
    bool canConvert(const QString& mime, const QString& uti) const;
    virtual QList<QByteArray> convertFromMime(const QString& mime, const QVariant& data, const QString& uti) const = 0;
    virtual QVariant convertToMime(const QString& mime, const QList<QByteArray>& data, const QString& uti) const = 0;
    virtual int count(const QMimeData* mimeData) const;
    virtual QString mimeForUti(const QString& uti) const = 0;
    virtual QString utiForMime(const QString& mime) const = 0;

private:
    Q_DISABLE_COPY(QUtiMimeConverter)
};
