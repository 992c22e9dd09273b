#pragma once

#include "OrvExternalPools.h"

#include <QByteArray>
#include <QDateTime>
#include <QString>
#include <QStringList>
#include <QTemporaryDir>

#include <memory>

namespace IPhotoTest {

// A library file around the given body of the top dict.
QByteArray library(const QByteArray& topDictBody);
// <key>k</key><string>v</string>
QByteArray entry(const QByteArray& key, const QByteArray& value, const QByteArray& element = "string");
// One foto entry of "Master Image List" (an Image unless mediaType says otherwise).
QByteArray foto(const QByteArray& key, const QByteArray& imagePath, const QByteArray& more = {},
                const QByteArray& mediaType = "Image");
QByteArray album(const QByteArray& id, const QByteArray& name, const QByteArray& type, const QList<QByteArray>& keys);

// What a parse gave, one line per album, foto and person, for comparing.
struct Snapshot
{
    QStringList albums;
    QStringList fotos;
    QStringList persons;
    bool operator==(const Snapshot& other) const
    {
        return albums == other.albums && fotos == other.fotos && persons == other.persons;
    }
    bool isEmpty() const { return albums.isEmpty() && fotos.isEmpty() && persons.isEmpty(); }
    QString toString() const;
};
Snapshot snapshot(const OrvExternalAlbumPool& albums, const OrvExternalFotoPool& fotos, const OrvExternalAlbumPool& persons);

// The streaming parser on bytes.
Snapshot parse(const QByteArray& bytes, const QString& service = QStringLiteral("iphoto"));
// The same with the thresholds lowered so that any document is read on a
// second thread and, where it can be, in two halves; readers says how many
// readers the parse used in the end.
Snapshot parseInHalves(const QByteArray& bytes, int* readers = nullptr);
// A plain walk over the DOM that the host's XML loader gives, written as
// directly as possible from the file format's rules; the parser must agree.
Snapshot parseWithDom(const QByteArray& bytes, const QString& service = QStringLiteral("iphoto"));

// A scratch folder that lives as long as the test.
class Scratch
{
public:
    Scratch();
    QString path(const QString& name) const;
    QString write(const QString& name, const QByteArray& bytes) const;

private:
    std::shared_ptr<QTemporaryDir> myDir;
};

} // namespace IPhotoTest

namespace IPhotoTest {

// Points QSettings at a scratch folder for the whole test program (never the
// real home) and gives the two process-wide sources a small library each:
// iPhoto through "XMLDataFilePath", Aperture through "RootDirectory".
struct Fixture
{
    QString root;             // scratch folder
    QString iphotoLibrary;    // its AlbumData.xml
    QString apertureLibrary;  // its ApertureData.xml
    QString rotatedImage;     // an image stored with EXIF orientation 6 (iPhoto foto "1")
    QString thumbnail;        // the thumbnail of foto "1"
    QString apertureImage;    // the image of Aperture foto "a1"
};
const Fixture& fixture();

// Writes the preferences of an application ("iphoto", "aperture" or a test's own name).
void setPreferences(const QString& application, const QString& xmlDataFilePath, const QString& rootDirectory = {});

} // namespace IPhotoTest
