#include "OrvApplePhotosIterator.h"

OrvApplePhotosIterator::OrvApplePhotosIterator(const QString& path, const QStringList& entries,
                                               OrvEntryListFilters filters, const QStringList& nameFilters)
    : OrvFileEngineIteratorBase(path, filters, nameFilters), myEntries(entries)
{
}

bool OrvApplePhotosIterator::hasMore() const { return myIndex + 1 < myEntries.size(); }

bool OrvApplePhotosIterator::advance()
{
    if (!hasMore())
        return false;
    ++myIndex;
    myPath = currentFilePath();
    return true;
}

QString OrvApplePhotosIterator::currentFileName() const
{
    return myIndex >= 0 && myIndex < myEntries.size() ? myEntries.at(myIndex) : QString();
}

QFileInfo OrvApplePhotosIterator::currentFileInfo() const
{
    if (myInfoIndex != myIndex) {
        myInfo = QFileInfo(myIndex >= 0 && myIndex < myEntries.size() ? myPath : currentFilePath());
        myInfoIndex = myIndex;
    }
    return myInfo;
}
