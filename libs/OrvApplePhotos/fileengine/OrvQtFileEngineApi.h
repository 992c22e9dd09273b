#pragma once

// Qt's private file-engine API across the Qt versions this builds with. 6.7 moved FileTime
// into QFile; 6.8 hands engines and iterators over as std::unique_ptr, gives beginEntryList
// the listed path and moves iterators with advance() instead of hasNext()/next(); 6.8.1
// passes QDirListing's iterator flags where 6.8.0 and earlier pass QDir's filters. The engine,
// its iterator and its handler use these names and keep one body of logic for every version.

#include <QtCore/private/qabstractfileengine_p.h>

#include <memory>

#define ORV_QT_FILE_ENGINE_68 (QT_VERSION >= QT_VERSION_CHECK(6, 8, 0))

#if QT_VERSION >= QT_VERSION_CHECK(6, 7, 0)
using OrvFileTime = QFile::FileTime;
#else
using OrvFileTime = QAbstractFileEngine::FileTime;
#endif

#if ORV_QT_FILE_ENGINE_68
using OrvFileEnginePtr = std::unique_ptr<QAbstractFileEngine>;
using OrvFileEngineIteratorPtr = std::unique_ptr<QAbstractFileEngineIterator>;
#else
using OrvFileEnginePtr = QAbstractFileEngine*;
using OrvFileEngineIteratorPtr = QAbstractFileEngineIterator*;
#endif

#if QT_VERSION >= QT_VERSION_CHECK(6, 8, 1)
using OrvEntryListFilters = QDirListing::IteratorFlags;
#else
using OrvEntryListFilters = QDir::Filters;
#endif

// The iterator base as Qt 6.8 has it, on every version: made with its path, moved with
// advance(). Before 6.8 Qt asks hasNext() and then calls next(); they come from
// hasMore() and advance() here, and QDirIterator sets the path after construction.
class OrvFileEngineIteratorBase : public QAbstractFileEngineIterator
{
public:
    OrvFileEngineIteratorBase(const QString& path, OrvEntryListFilters filters, const QStringList& nameFilters)
#if ORV_QT_FILE_ENGINE_68
        : QAbstractFileEngineIterator(path, filters, nameFilters)
    {
    }
#else
        : QAbstractFileEngineIterator(filters, nameFilters)
    {
        Q_UNUSED(path);
    }
    virtual bool advance() = 0;
    bool hasNext() const override { return hasMore(); }
    QString next() override { return advance() ? currentFilePath() : QString(); }
#endif

    // Whether advance() would move to another entry.
    virtual bool hasMore() const = 0;
};
