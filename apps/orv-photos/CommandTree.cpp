#include "Commands.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoDate.h"
#include "OrvSourceSettler.h"

#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>

namespace {


QString urlText(const OrvExternalId& id) { return id.isValid() ? id.toUrl().toString() : QString(); }

// Albums parents first, each followed by its sub-albums; albums whose parent is unknown come last.
OrvExternalAlbumList albumsInTreeOrder(const OrvExternalDatabase* database)
{
    const OrvExternalDataPool& pool = database->getExternalDataPoolConst();
    OrvExternalAlbumList ordered;
    QSet<OrvExternalId> seen;
    std::function<void(const OrvExternalId&)> visit = [&](const OrvExternalId& parent) {
        for (const OrvExternalId& id : pool.childAlbums(parent)) {
            if (seen.contains(id))
                continue;
            seen.insert(id);
            const OrvExternalAlbum album = pool.findAlbum(id);
            if (!album.isValid())
                continue;
            ordered.append(album);
            visit(id);
        }
    };
    visit(OrvExternalId());
    for (const OrvExternalAlbum& album : pool.albums()) {
        if (!seen.contains(album.id()))
            ordered.append(album);
    }
    return ordered;
}

QJsonObject describeTree(quint32 type, OrvExternalDatabase* database)
{
    QJsonObject source = describeSource(type, database);
    QJsonArray fotos;
    // An album lists only photos the source lists: ids of photos left out (movies with
    // --images-only, files the library names but cannot show) would name nothing.
    QSet<OrvExternalId> listed;
    for (const OrvExternalFoto& foto : database->fotos()) {
        listed.insert(foto.id());
        QJsonArray faces;
        for (const OrvExternalFace& face : foto.faces()) {
            const QRectF r = face.rect();
            faces.append(QJsonObject{{QStringLiteral("id"), urlText(face.id())},
                                     {QStringLiteral("rect"), QJsonArray{r.x(), r.y(), r.width(), r.height()}}});
        }
        const QUrl data = foto.dataUrl(FOTO_CACHE_SIZE_FULL);
        fotos.append(QJsonObject{{QStringLiteral("id"), urlText(foto.id())},
                                 {QStringLiteral("name"), OrvFotoDate::nameOf(foto)},
                                 {QStringLiteral("taken"), OrvFotoDate::toIsoString(OrvFotoDate::takenOf(database, foto))},
                                 {QStringLiteral("rating"), foto.adobeRating()},
                                 {QStringLiteral("faces"), faces},
                                 {QStringLiteral("file"), data.isLocalFile() ? data.toLocalFile() : QString()}});
    }
    QJsonArray albums;
    for (const OrvExternalAlbum& album : albumsInTreeOrder(database)) {
        QJsonArray albumFotos;
        for (const OrvExternalId& id : album.fotoIds()) {
            if (listed.contains(id))
                albumFotos.append(urlText(id));
        }
        albums.append(QJsonObject{{QStringLiteral("id"), urlText(album.id())},
                                  {QStringLiteral("name"), album.name()},
                                  {QStringLiteral("type"), qint64(album.type().code())},
                                  {QStringLiteral("parent"), urlText(album.parentAlbum())},
                                  {QStringLiteral("fotos"), albumFotos}});
    }
    source.insert(QStringLiteral("albums"), albums);
    source.insert(QStringLiteral("fotos"), fotos);
    return source;
}

void printText(quint32 type, OrvExternalDatabase* database)
{
    out() << database->serviceId() << " (" << database->service().displayName() << ", "
          << OrvCommandLine::tr("type %1").arg(type) << ", "
          << (database->wantsToBeShown() ? OrvCommandLine::tr("shown") : OrvCommandLine::tr("hidden")) << "): "
          << photoCount(database->countFotos()) << "\n";
    // A library source that found no library says where it looked.
    const QString why = whyEmpty(database);
    if (!why.isEmpty())
        out() << "  | " << why << "\n";
    const OrvExternalDataPool& pool = database->getExternalDataPoolConst();
    // An empty source shows the user its placeholder (for example why access was denied).
    const QString placeholder = database->service().placeholderText();
    if (pool.countAlbums() == 0 && pool.countFotos() == 0 && !placeholder.isEmpty()) {
        QString text = placeholder;
        text.remove(QRegularExpression(QStringLiteral("<[^>]*>")));
        for (const QString& line : text.split(QLatin1Char('\n')))
            out() << "  | " << line << "\n";
    }
    std::function<void(const OrvExternalId&, int)> print = [&](const OrvExternalId& parent, int depth) {
        for (const OrvExternalId& id : pool.childAlbums(parent)) {
            const OrvExternalAlbum album = pool.findAlbum(id);
            out() << QString(2 * depth, QLatin1Char(' ')) << album.name() << "  ["
                  << photoCount(pool.fotosInAlbumTree(id).size()) << "]\n";
            if (depth < 64)
                print(id, depth + 1);
        }
    };
    print(OrvExternalId(), 1);
}

} // namespace

void openAllAlbums(const QList<OrvExternalDatabase*>& databases, int waitMs, const std::function<bool()>& enough)
{
    OrvSourceSettler::Bounds bounds;
    bounds.enough = enough;
    if (waitMs > 0) {
        // Devices may appear within the time given, and their catalogues follow.
        bounds.quietMs = 2 * bounds.quietMs;
        bounds.totalMs = waitMs;
        bounds.waitForDevices = true;
    }
    OrvSourceSettler settler(databases);
    if (!settler.settle(bounds) && waitMs <= 0)
        err() << "orv-photos: "
              << OrvCommandLine::tr("sources still busy after %1 s without news; printing what arrived")
                     .arg(bounds.stallMs / 1000)
              << "\n";
}

int commandTree(const OrvArguments& arguments)
{
    int waitMs = 0;
    if (!waitOption(arguments, "tree", &waitMs))
        return 1;
    const bool json = arguments.isSet(QStringLiteral("json"));
    const QString service = arguments.value(QStringLiteral("source"));
    QList<QPair<quint32, OrvExternalDatabase*>> sources;
    if (!service.isEmpty()) {
        OrvExternalDatabase* database = findSource(service, "tree");
        if (!database)
            return 1;
        for (const auto& source : registeredSources()) {
            if (source.second == database)
                sources.append(source);
        }
    } else {
        sources = registeredSources();
    }
    if (sources.isEmpty()) {
        fail("tree") << OrvCommandLine::tr("no photo sources registered") << "\n";
        return 1;
    }
    QList<OrvExternalDatabase*> databases;
    for (const auto& source : sources)
        databases.append(source.second);
    openAllAlbums(databases, waitMs);
    if (json) {
        QJsonArray list;
        for (const auto& [type, database] : sources)
            list.append(describeTree(type, database));
        printJson(QJsonObject{{QStringLiteral("sources"), list}});
        return 0;
    }
    for (const auto& [type, database] : sources)
        printText(type, database);
    return 0;
}
