#pragma once

#include "OrvQtFileEngineApi.h"

#include <QStringList>

// Walks the names that OrvApplePhotosFileEngine listed.
class OrvApplePhotosIterator : public OrvFileEngineIteratorBase
{
public:
    OrvApplePhotosIterator(const QString& path, const QStringList& entries, OrvEntryListFilters filters,
                           const QStringList& nameFilters);

    // Moves to the next entry; false at the end, where the index stays on the last entry.
    bool advance() override;
    bool hasMore() const override;
    // The entry at the index; empty before the first and past the last.
    QString currentFileName() const override;
    // Made once an entry: directory listings ask for it several times.
    QFileInfo currentFileInfo() const override;

private:
    QStringList myEntries;
    int myIndex = -1;
    QString myPath;  // of the entry at the index, made by advance
    mutable QFileInfo myInfo;
    mutable int myInfoIndex = -1;
};
