#pragma once

#include <QByteArray>
#include <QDateTime>
#include <QHash>
#include "OrvQtFileEngineApi.h"

// One "photokitfs:" path as a file: photos (names with "photokit:foto") are
// existing links, everything else is an existing directory whose listing is
// every photo of the library. Names and dates are real, the contents are
// empty (photos reach the application through the Photos source); the
// position is a 32-bit integer, deliberately.
class OrvApplePhotosFileEngine : public QAbstractFileEngine
{
public:
    OrvApplePhotosFileEngine(const QString& fileName, const QString& databaseName, const QString& filePart);
    ~OrvApplePhotosFileEngine() override;

    bool open(QIODevice::OpenMode openMode, std::optional<QFile::Permissions> permissions = std::nullopt) override;
    bool close() override;
    bool flush() override;
    qint64 size() const override;
    qint64 pos() const override;
    bool seek(qint64 offset) override;
    bool isSequential() const override;
    bool remove() override;
    bool copy(const QString& newName) override;
    bool rename(const QString& newName) override;
    bool mkdir(const QString& dirName, bool createParentDirectories,
               std::optional<QFile::Permissions> permissions = std::nullopt) const override;
    bool rmdir(const QString& dirName, bool recurseParentDirectories) const override;
    bool setSize(qint64 size) override;
    bool caseSensitive() const override;
    bool isRelativePath() const override;
    using QAbstractFileEngine::entryList;
    QStringList entryList(OrvEntryListFilters filters, const QStringList& filterNames) const override;
    FileFlags fileFlags(FileFlags type = FileInfoAll) const override;
    bool setPermissions(uint perms) override;
    QString fileName(FileName file = DefaultName) const override;
    uint ownerId(FileOwner owner) const override;
    QString owner(FileOwner owner) const override;
    QDateTime fileTime(OrvFileTime time) const override;
    void setFileName(const QString& file) override;
#if ORV_QT_FILE_ENGINE_68
    OrvFileEngineIteratorPtr beginEntryList(const QString& path, OrvEntryListFilters filters,
                                            const QStringList& filterNames) override;
#else
    // Before 6.8 the path to list is the engine's own file name.
    OrvFileEngineIteratorPtr beginEntryList(OrvEntryListFilters filters, const QStringList& filterNames) override
    {
        return beginEntryList(myFileName, filters, filterNames);
    }
    OrvFileEngineIteratorPtr beginEntryList(const QString& path, OrvEntryListFilters filters,
                                            const QStringList& filterNames);
#endif
    qint64 read(char* data, qint64 maxlen) override;
    qint64 write(const char* data, qint64 len) override;

    bool remove(const QString& name) const;
    void readAll();
    QByteArray readAllIntoArray() const;

    // Creation dates of the listed assets by local identifier.
    static QDateTime cachedAssetDate(const QString& localIdentifier);

private:
    QString myFileName;
    QString myDatabaseName;
    QString myFilePart;
    QByteArray myContents;
    bool myContentsLoaded = false;
    int myPosition = 0;
    QIODevice::OpenMode myOpenMode = QIODevice::NotOpen;
};
