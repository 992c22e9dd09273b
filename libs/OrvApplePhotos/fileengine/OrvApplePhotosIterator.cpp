#include "OrvApplePhotosIterator.h"

OrvApplePhotosIterator::OrvApplePhotosIterator(const QStringList& entries, QDir::Filters filters, const QStringList& nameFilters)
    : QAbstractFileEngineIterator(filters, nameFilters), myEntries(entries)
{
}

bool OrvApplePhotosIterator::hasNext() const { return myIndex + 1 < myEntries.size(); }

QString OrvApplePhotosIterator::next()
{
    // At the end the index stays on the last entry.
    if (!hasNext())
        return QString();
    ++myIndex;
    myPath = currentFilePath();
    return myPath;
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
