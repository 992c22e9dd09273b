#pragma once

#include "OrvExternalAlbum.h"
#include "OrvExternalFace.h"
#include "OrvExternalFoto.h"
#include "OrvExternalId.h"
#include "OrvExternalPools.h"

#include <QByteArray>
#include <QDateTime>
#include <QFileInfo>
#include <QHash>
#include <QRectF>
#include <QRegularExpression>
#include <QString>
#include <QStringView>

#include <functional>

// Reads an iPhoto "AlbumData.xml" or Aperture "ApertureData.xml" library file
// into albums, fotos and persons.
//
// Libraries reach 100 000 fotos and files of over 100 MB, so the file is not
// loaded as a DOM: it is streamed through libxml2 and a small state machine with
// one frame per open element, which reads the document exactly as a walk over
// its DOM would (whole text content of elements, each "key" paired with the
// next sibling element of any name, later keys overriding earlier ones). A
// file that is not well-formed gives nothing at all, as a DOM load would.
// Files above threadedSize are read and walked on a second thread while the
// calling thread turns what was read into albums and fotos; files above
// splitSize are read by two readers, one for each half. The walk is
// OrvIPhoto::Walker, the readers OrvIPhoto::SplitReader, and the records
// become albums and fotos in OrvIPhoto::Builder (all private to this folder).
class OrvIPhotoDatabaseParser : public OrvExternalAccess
{
public:
    explicit OrvIPhotoDatabaseParser(const OrvExternalUrlBuilder& builder);
    ~OrvIPhotoDatabaseParser() override;

    // Parses the library file and adds its albums, fotos and persons to the pools.
    void parse(const QFileInfo& file);
    // The same for a library already in memory.
    void parseData(const QByteArray& bytes);

    OrvExternalAlbumPool albums() const { return myAlbums; }
    OrvExternalFotoPool fotos() const { return myFotos; }
    OrvExternalAlbumPool persons() const { return myPersons; }
    // What a source shows of the parse: the fotos, then the albums, the
    // persons and one album per month.
    OrvExternalDataPool dataPool() const;

    // The album type of an "Album Type" text.
    OrvExternalAlbumType albumType(const QString& text) const;
    // The face rectangle pattern: {{x, y}, {w, h}}, four captures.
    QRegularExpression faceDetectorRegExp() const;
    // The rectangle of a "rectangle" text with its origin moved to the top left;
    // false (and rect untouched) when the text holds no rectangle. Finds exactly
    // what faceDetectorRegExp finds, without compiling a pattern per face.
    static bool matchFaceRectangle(QByteArrayView text, QRectF* rect);
    // 1 January 2001, 00:00:00 local time: what "DateAsTimerInterval" counts from.
    static const QDateTime& iPhotoEpoch();
    // The foto date of a "DateAsTimerInterval" text.
    static QDateTime fotoDate(QByteArrayView text);
    // A "Rating" text as a whole number.
    static int rating(QByteArrayView text);

    // How deep elements may nest before the file is refused.
    static constexpr int maxDepth = 1000;
    // Larger libraries are read on a second thread while the first builds.
    static constexpr qint64 threadedSize = 4 << 20;
    // From this size on, a second reader takes the second half of the fotos.
    static constexpr qint64 splitSize = 8 << 20;
    // Other sizes than the two above (tests, benchmarks).
    void setThresholds(qint64 threaded, qint64 split);
    // How many readers the last parse used in the end (2: the file was read in two halves).
    int readers() const { return myReaders; }

private:
    using ReadAt = std::function<qint64(qint64 offset, char* buffer, qint64 size)>;
    bool parseInput(qint64 size, const ReadAt& readAt);
    bool adopt(const OrvExternalAlbumPool& albums, const OrvExternalFotoPool& fotos, OrvExternalAlbumPool& persons,
               qsizetype repairs);
    void fillAlbumTypes();
    void assignFacesToPersons(OrvExternalAlbumPool& persons, const OrvExternalFotoPool& fotos) const;

    OrvExternalAlbumPool myAlbums;
    OrvExternalFotoPool myFotos;
    OrvExternalAlbumPool myPersons;
    QHash<QString, OrvExternalAlbumType> myAlbumTypes;
    qint64 myThreadedSize = threadedSize;
    qint64 mySplitSize = splitSize;
    int myReaders = 0;
};
