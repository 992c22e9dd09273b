#pragma once

// What the reading thread hands to the building one: the values of the keys
// as they stand at the end of each entry (later keys already won), as spans of
// one byte arena per batch. Private to the iphoto folder.

#include <QByteArrayView>
#include <QRectF>

#include <functional>
#include <memory>
#include <string>
#include <vector>

namespace OrvIPhoto {

struct Text
{
    quint32 offset = 0;
    quint32 length = 0;
    bool present = false;  // false: there was no value element at all
};

struct FaceRecord
{
    bool hasKey = false;
    Text key;
    QRectF rect;
};

struct FotoRecord
{
    Text key;
    Text imagePath;
    Text thumbPath;
    bool hasDate = false;
    double seconds = 0;  // whole seconds after the epoch
    int rating = 0;
    quint32 firstFace = 0;
    quint32 faceCount = 0;
};

struct AlbumRecord
{
    bool hasId = false;
    Text id;
    Text name;
    bool hasType = false;
    Text type;
    quint32 firstKey = 0;
    quint32 keyCount = 0;
};

struct PersonRecord
{
    Text key;
    Text name;
};

struct Batch
{
    std::string bytes;
    std::vector<FotoRecord> fotos;
    std::vector<FaceRecord> faces;
    std::vector<AlbumRecord> albums;
    std::vector<Text> keys;  // the KeyList entries of the albums
    std::vector<PersonRecord> persons;

    QByteArrayView view(Text text) const { return QByteArrayView(bytes.data() + text.offset, text.length); }
    bool isLarge() const { return bytes.size() > (256u << 10) || fotos.size() >= 1024; }
};

using BatchSink = std::function<void(std::unique_ptr<Batch>)>;

} // namespace OrvIPhoto
