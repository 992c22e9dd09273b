#include "OrvIPhotoDatabaseParser.h"

#include "OrvIPhotoBuilder.h"
#include "OrvIPhotoSplitReader.h"
#include "OrvIPhotoValues.h"

#include "OrvExternalMonthSynthesizer.h"

#include "OrvUserFile.h"
#include "OrvQtCompat.h"

#include <QDebug>

#include <cmath>
#include <cstring>
#include <limits>

using OrvIPhoto::dateAfterEpoch;
using OrvIPhoto::toDouble;

OrvIPhotoDatabaseParser::OrvIPhotoDatabaseParser(const OrvExternalUrlBuilder& builder) : OrvExternalAccess(builder) {}

OrvIPhotoDatabaseParser::~OrvIPhotoDatabaseParser() = default;

void OrvIPhotoDatabaseParser::fillAlbumTypes()
{
    myAlbumTypes.insert(QStringLiteral("Regular"), OrvExternalAlbumType::Regular);
    myAlbumTypes.insert(QStringLiteral("Smart"), OrvExternalAlbumType::Regular);
    myAlbumTypes.insert(QStringLiteral("Event"), OrvExternalAlbumType::Event);
    myAlbumTypes.insert(QStringLiteral("1"), OrvExternalAlbumType::Regular);
    myAlbumTypes.insert(QStringLiteral("2"), OrvExternalAlbumType::Regular);
    myAlbumTypes.insert(QStringLiteral("3"), OrvExternalAlbumType::Special);
    myAlbumTypes.insert(QStringLiteral("4"), OrvExternalAlbumType::Regular);
}

void OrvIPhotoDatabaseParser::parse(const QFileInfo& file)
{
    fillAlbumTypes();
    OrvUserFile in(file.absoluteFilePath(), OrvUserFile::LibraryFile);
    if (file.filePath().isEmpty() || !in.open()) {
        qDebug() << "OrvIPhotoDatabaseParser: cannot open" << file.filePath();
        return;
    }
    // Reads may run on two threads at once: positioned reads share no offset.
    parseInput(in.size(), [&in](qint64 offset, char* buffer, qint64 size) {
                    return qMax<qint64>(0, in.readAt(offset, buffer, size));
                });
}

void OrvIPhotoDatabaseParser::parseData(const QByteArray& bytes)
{
    fillAlbumTypes();
    parseInput(bytes.size(), [&bytes](qint64 offset, char* buffer, qint64 size) {
                    const qint64 count = std::max<qint64>(0, std::min<qint64>(size, bytes.size() - offset));
                    std::memcpy(buffer, bytes.constData() + offset, size_t(count));
                    return count;
                });
}

void OrvIPhotoDatabaseParser::setThresholds(qint64 threaded, qint64 split)
{
    myThreadedSize = threaded;
    mySplitSize = split;
}

bool OrvIPhotoDatabaseParser::parseInput(qint64 size, const ReadAt& readAt)
{
    const OrvIPhoto::Input input{size, readAt};
    myReaders = 1;
    OrvIPhoto::Builder builder(*this);
    qsizetype repairs = 0;
    if (input.size <= myThreadedSize) {
        if (!OrvIPhoto::SplitReader::readHere(input, builder, &repairs))
            return false;  // as a DOM load would: a broken file gives nothing at all
        return adopt(builder.albums, builder.fotos, builder.persons, repairs);
    }
    const bool ok = OrvIPhoto::SplitReader::readThreaded(input, mySplitSize, *this, builder, &repairs, &myReaders);
    return ok && adopt(builder.albums, builder.fotos, builder.persons, repairs);
}

bool OrvIPhotoDatabaseParser::adopt(const OrvExternalAlbumPool& albums, const OrvExternalFotoPool& fotos,
                                    OrvExternalAlbumPool& persons, qsizetype repairs)
{
    if (repairs > 0)
        qDebug() << "OrvIPhotoDatabaseParser: repaired" << repairs << "defects";
    assignFacesToPersons(persons, fotos);
    if (myAlbums.isEmpty())
        myAlbums = albums;
    else
        myAlbums.add(albums);
    if (myFotos.size() == 0)
        myFotos = fotos;
    else
        myFotos.add(fotos.fotos());
    if (myPersons.isEmpty())
        myPersons = persons;
    else
        myPersons.add(persons);
    return true;
}

void OrvIPhotoDatabaseParser::assignFacesToPersons(OrvExternalAlbumPool& persons, const OrvExternalFotoPool& fotos) const
{
    // Each person's fotos in the order of the pool, then one append per person
    // (which leaves out what a person has already).
    QHash<OrvExternalId, OrvExternalIdList> fotosOf;
    OrvExternalIdList order;
    for (const OrvExternalFoto& foto : fotos.fotos()) {
        const OrvExternalFotoImplData* data = foto.data();
        if (!data)
            continue;
        for (const OrvExternalFace& face : data->faces()) {
            if (!face.id().isValid())
                continue;
            OrvExternalIdList& ids = fotosOf[face.id()];
            if (ids.isEmpty())
                order.append(face.id());
            ids.append(foto.id());
        }
    }
    for (const OrvExternalId& person : std::as_const(order))
        persons.appendFotos(person, fotosOf.value(person));
}

OrvExternalAlbumType OrvIPhotoDatabaseParser::albumType(const QString& text) const
{
    const auto it = myAlbumTypes.constFind(text);
    if (it != myAlbumTypes.constEnd())
        return *it;
    if (text == QLatin1String("Special Roll"))
        return OrvExternalAlbumType::Special;
    if (text.isEmpty())
        return OrvExternalAlbumType::Untitled;
    if (text.endsWith(QLatin1String("Month")) || text.contains(QLatin1String("Event")))
        return OrvExternalAlbumType::Special;
    return OrvExternalAlbumType::Other;
}

QRegularExpression OrvIPhotoDatabaseParser::faceDetectorRegExp() const
{
    const QString number = QStringLiteral("(\\d+\\.\\d+)");
    const QString pair = QStringLiteral("\\{\\s*") + number + QStringLiteral(",\\s*") + number + QStringLiteral("\\s*\\}");
    return QRegularExpression(QStringLiteral("\\{") + pair + QStringLiteral("\\s*,\\s*") + pair + QStringLiteral("\\}"));
}

namespace {

// \s and \d of the pattern (no Unicode properties): ASCII only.
bool isPatternSpace(char c) { return c == ' ' || c == '\t' || c == '\n' || c == '\v' || c == '\f' || c == '\r'; }
bool isPatternDigit(char c) { return c >= '0' && c <= '9'; }

struct Cursor
{
    const char* p;
    const char* end;
    void skipSpace()
    {
        while (p < end && isPatternSpace(*p))
            ++p;
    }
    bool take(char c)
    {
        if (p < end && *p == c) {
            ++p;
            return true;
        }
        return false;
    }
    // \d+\.\d+ : greedy digits can only end where a non-digit stands, so the
    // match at a given place is unique and no backtracking is needed.
    bool number(double* value)
    {
        const char* first = p;
        while (p < end && isPatternDigit(*p))
            ++p;
        if (p == first || !take('.'))
            return false;
        const char* fraction = p;
        while (p < end && isPatternDigit(*p))
            ++p;
        if (p == fraction)
            return false;
        *value = QByteArray::fromRawData(first, p - first).toDouble();
        return true;
    }
};

} // namespace

OrvExternalDataPool OrvIPhotoDatabaseParser::dataPool() const
{
    OrvExternalDataPool pool{OrvExternalAlbumPool(), OrvExternalFotoPool()};
    pool.setFotos(myFotos);
    OrvExternalAlbumPool albums;
    albums.add(myAlbums);
    albums.add(myPersons);
    for (const OrvExternalAlbum& month : OrvExternalMonthSynthesizer(myFotos.fotos()).synthetiseMonthAlbums())
        albums.add(month);
    pool.setAlbums(albums);
    return pool;
}

bool OrvIPhotoDatabaseParser::matchFaceRectangle(QByteArrayView text, QRectF* rect)
{
    // Shorter texts hold no rectangle (and an absent value has no data at all).
    if (text.size() < 2)
        return false;
    const char* data = text.data();
    const char* end = data + text.size();
    for (const char* at = data; at + 1 < end; ++at) {
        if (at[0] != '{' || at[1] != '{')
            continue;
        Cursor c{at + 2, end};
        double x = 0;
        double y = 0;
        double w = 0;
        double h = 0;
        c.skipSpace();
        if (!c.number(&x) || !c.take(','))
            continue;
        c.skipSpace();
        if (!c.number(&y))
            continue;
        c.skipSpace();
        if (!c.take('}'))
            continue;
        c.skipSpace();
        if (!c.take(','))
            continue;
        c.skipSpace();
        if (!c.take('{'))
            continue;
        c.skipSpace();
        if (!c.number(&w) || !c.take(','))
            continue;
        c.skipSpace();
        if (!c.number(&h))
            continue;
        c.skipSpace();
        if (!c.take('}') || !c.take('}'))
            continue;
        // The library's origin is bottom left; ours is top left.
        *rect = QRectF(x, 1.0 - y - h, w, h);
        return true;
    }
    return false;
}

const QDateTime& OrvIPhotoDatabaseParser::iPhotoEpoch()
{
    // Local midnight, not UTC: that is how the library's dates come out right.
    static const QDateTime myEpoch = OrvQt::local(QDate(2001, 1, 1), QTime(0, 0, 0));
    return myEpoch;
}

QDateTime OrvIPhotoDatabaseParser::fotoDate(QByteArrayView text)
{
    return dateAfterEpoch(std::trunc(toDouble(text)), iPhotoEpoch().toMSecsSinceEpoch());
}

int OrvIPhotoDatabaseParser::rating(QByteArrayView text)
{
    const double value = std::trunc(toDouble(text));
    if (value < double(std::numeric_limits<int>::min()) || value > double(std::numeric_limits<int>::max()))
        return 0;
    return int(value);
}
