#pragma once

#include <QStringList>
#include <QtCore/private/qabstractfileengine_p.h>

// Walks the names that OrvApplePhotosFileEngine listed.
class OrvApplePhotosIterator : public QAbstractFileEngineIterator
{
public:
    OrvApplePhotosIterator(const QStringList& entries, QDir::Filters filters, const QStringList& nameFilters);

    bool hasNext() const override;
    QString next() override;
    // The entry at the index; empty before the first and past the last.
    QString currentFileName() const override;
    // Made once an entry: QDirIterator asks for it several times.
    QFileInfo currentFileInfo() const override;

private:
    QStringList myEntries;
    int myIndex = -1;
    QString myPath;  // of the entry at the index, made by next
    mutable QFileInfo myInfo;
    mutable int myInfoIndex = -1;
};
