#pragma once

#include "OrvDrawable.h"
#include "OrvExifOrientation.h"
#include "OrvExternalId.h"
#include "OrvFoto.h"
#include "OrvFotoMetaData.h"
#include "OrvMediaDescriptor.h"
#include "OrvMediaFormat.h"

#include <QByteArray>
#include <QIODevice>
#include <QSize>

class OrvMediaLoader;
class OrvTargetFolder;
class OrvNativeMetaDataExiv2;
class OrvFotoRetrieverData;
class OrvFotoRetrieverMetaData;

// Per-foto entry point the host uses to fetch pixels, bytes and metadata.
// Objects returned by clone, retrieve and retrieveMetaData belong to the caller.
class OrvFotoRetrieverInterface
{
public:
    virtual ~OrvFotoRetrieverInterface();
    virtual OrvFotoRetrieverInterface* clone() const = 0;
    virtual OrvFotoRetrieverData* retrieve(const QSize& size) = 0;
    virtual OrvFotoRetrieverMetaData* retrieveMetaData() = 0;
    virtual bool operator==(const OrvFotoRetrieverInterface& other) const = 0;
    virtual size_t hash() const = 0;
    // Writes pixels or metadata back to the source; false when it cannot.
    virtual bool storeDrawable(const OrvDrawable& drawable) = 0;
    virtual bool storeMetaData(const OrvFotoMetaData& metaData) = 0;
};

// For sources that cannot write back.
class OrvFotoRetrieverInterfaceReadOnly : public OrvFotoRetrieverInterface
{
public:
    bool storeDrawable(const OrvDrawable& drawable) override;
    bool storeMetaData(const OrvFotoMetaData& metaData) override;
};

// Pixels and file bytes of one foto.
class OrvFotoRetrieverData
{
public:
    OrvFotoRetrieverData() = default;
    explicit OrvFotoRetrieverData(const OrvMediaDescriptor& descriptor) : myDescriptor(descriptor) {}
    virtual ~OrvFotoRetrieverData();

    virtual OrvFetchDrawableResult drawable(const QSize& size) = 0;
    // The foto's bytes in format; an invalid format means "as stored".
    virtual QByteArray file(const OrvMediaFormat& format);
    // Decodes the full-size pixels and encodes them in format.
    virtual QByteArray recodedFile(const OrvMediaFormat& format);
    virtual OrvFoto foto() const = 0;
    // Writes what file(format) gives into target. Bytes copied as stored go in
    // chunks, so a movie of gigabytes costs no more memory than a thumbnail.
    // False when nothing, or not all of it, could be written.
    virtual bool writeFile(const OrvMediaFormat& format, QIODevice* target);
    // Saves what writeFile(format) writes as name in folder (created there as
    // the folder creates files). Sources whose bytes already are a file of their
    // own (a camera's download) hand that file over instead of copying it.
    virtual bool saveFile(const OrvMediaFormat& format, OrvTargetFolder* folder, const QString& name);

    OrvMediaLoader* mediaLoader() const;
    // Metadata of the file behind this retriever (or of the cached record when
    // there is no file); the caller owns it.
    OrvNativeMetaDataExiv2* createNativeMetaData() const;
    // The file's bytes when it is in format (or format is invalid), else recoded with its metadata kept.
    QByteArray convertThisFileToFormat(const OrvMediaFormat& format);
    // Whether format asks for the file as it is stored.
    bool isStoredFormat(const OrvMediaFormat& format) const;
    // Copies the file behind this retriever into target in chunks, with the
    // patches applied in passing. False for no file, an empty one or a failed write.
    bool copyThisFile(QIODevice* target, const QList<OrvExifOrientation::Patch>& patches = {}) const;
    // Copies the file at path into target in chunks, as it is; false for no file, an empty one or a failed write.
    static bool streamFile(const QString& path, QIODevice* target, const QList<OrvExifOrientation::Patch>& patches = {});
    const OrvMediaDescriptor& descriptor() const { return myDescriptor; }

protected:
    OrvMediaDescriptor myDescriptor;
};

// Pixels and bytes of a file on disk.
class OrvFotoRetrieverDataFileInfo : public OrvFotoRetrieverData
{
public:
    explicit OrvFotoRetrieverDataFileInfo(const OrvMediaDescriptor& descriptor);
    OrvFetchDrawableResult drawable(const QSize& size) override;
    QByteArray file(const OrvMediaFormat& format) override;
    OrvFoto foto() const override;
    bool writeFile(const OrvMediaFormat& format, QIODevice* target) override;
};

// Metadata of one foto.
class OrvFotoRetrieverMetaData
{
public:
    OrvFotoRetrieverMetaData() = default;
    explicit OrvFotoRetrieverMetaData(const OrvMediaDescriptor& descriptor) : myDescriptor(descriptor) {}
    virtual ~OrvFotoRetrieverMetaData();

    virtual OrvFotoMetaData metaData();
    virtual OrvFotoMetaData buildFotoMetaData(const OrvMediaDescriptor& descriptor) const;
    virtual OrvFotoMetaData buildVideoMetaData(const OrvMediaDescriptor& descriptor) const;
    virtual OrvFotoMetaData buildWicMetaData(const OrvMediaDescriptor& descriptor) const;

    const OrvMediaDescriptor& descriptor() const { return myDescriptor; }

protected:
    OrvMediaDescriptor myDescriptor;
};

// Metadata of a file on disk.
class OrvFotoRetrieverMetaDataFileInfo : public OrvFotoRetrieverMetaData
{
public:
    explicit OrvFotoRetrieverMetaDataFileInfo(const OrvMediaDescriptor& descriptor);
    OrvFotoMetaData metaData() override;
};
