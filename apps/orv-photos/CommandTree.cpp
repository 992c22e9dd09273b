#include "Commands.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoDate.h"

#include <QCoreApplication>
#include <QElapsedTimer>
#include <QJsonArray>
#include <QRegularExpression>
#include <QSet>
#include <QThread>

namespace {

// Nothing new for this long means every album is open.
constexpr int quietMs = 500;
// Sources that never settle are printed as far as they got.
constexpr int boundMs = 10000;

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
    QJsonArray albums;
    for (const OrvExternalAlbum& album : albumsInTreeOrder(database)) {
        QJsonArray fotos;
        for (const OrvExternalId& id : album.fotoIds())
            fotos.append(urlText(id));
        albums.append(QJsonObject{{QStringLiteral("id"), urlText(album.id())},
                                  {QStringLiteral("name"), album.name()},
                                  {QStringLiteral("type"), qint64(album.type().code())},
                                  {QStringLiteral("parent"), urlText(album.parentAlbum())},
                                  {QStringLiteral("fotos"), fotos}});
    }
    QJsonArray fotos;
    for (const OrvExternalFoto& foto : database->fotos()) {
        QJsonArray faces;
        for (const OrvExternalFace& face : foto.faces()) {
            const QRectF r = face.rect();
            faces.append(QJsonObject{{QStringLiteral("id"), urlText(face.id())},
                                     {QStringLiteral("rect"), QJsonArray{r.x(), r.y(), r.width(), r.height()}}});
        }
        const QUrl data = foto.dataUrl(FOTO_CACHE_SIZE_FULL);
        fotos.append(QJsonObject{{QStringLiteral("id"), urlText(foto.id())},
                                 {QStringLiteral("name"), foto.name()},
                                 {QStringLiteral("taken"), OrvFotoDate::toIsoString(foto.taken())},
                                 {QStringLiteral("rating"), foto.adobeRating()},
                                 {QStringLiteral("faces"), faces},
                                 {QStringLiteral("file"), data.isLocalFile() ? data.toLocalFile() : QString()}});
    }
    source.insert(QStringLiteral("albums"), albums);
    source.insert(QStringLiteral("fotos"), fotos);
    return source;
}

void printText(quint32 type, OrvExternalDatabase* database)
{
    out() << database->serviceId() << " (" << database->service().displayName() << ", type " << type << ", "
          << (database->wantsToBeShown() ? "shown" : "hidden") << "): " << database->countFotos() << " fotos\n";
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
            out() << QString(2 * depth, QLatin1Char(' ')) << album.name() << "  [" << pool.fotosInAlbumTree(id).size()
                  << " fotos]\n";
            if (depth < 64)
                print(id, depth + 1);
        }
    };
    print(OrvExternalId(), 1);
}

} // namespace

void openAllAlbums(const QList<OrvExternalDatabase*>& databases, int waitMs)
{
    const int bound = waitMs > 0 ? waitMs : boundMs;
    const int quietFor = waitMs > 0 ? 2 * quietMs : quietMs;
    for (OrvExternalDatabase* database : databases)
        database->doLazyInit();
    QSet<QPair<OrvExternalDatabase*, QUrl>> opened;
    QElapsedTimer overall;
    overall.start();
    QElapsedTimer quiet;
    quiet.start();
    qint64 lastCount = -1;
    while (overall.elapsed() < bound) {
        bool asked = false;
        for (OrvExternalDatabase* database : databases) {
            for (const OrvExternalAlbum& album : database->albums()) {
                const QPair<OrvExternalDatabase*, QUrl> key{database, album.url()};
                if (opened.contains(key))
                    continue;
                opened.insert(key);
                database->fetchMore(album.url());
                asked = true;
            }
        }
        QCoreApplication::processEvents(QEventLoop::AllEvents, 20);
        qint64 count = 0;
        for (OrvExternalDatabase* database : databases) {
            const OrvExternalDataPool& pool = database->getExternalDataPoolConst();
            count += pool.countAlbums() + pool.countFotos();
            for (const OrvExternalAlbum& album : pool.albums())
                count += album.fotoIds().size();
        }
        if (asked || count != lastCount) {
            lastCount = count;
            quiet.restart();
        } else if (quiet.elapsed() >= quietFor) {
            const bool gathering = waitMs > 0 && std::any_of(databases.cbegin(), databases.cend(), [](const OrvExternalDatabase* database) {
                return database->isStillGatheringFotos();
            });
            if (!gathering)
                return;
        }
        QThread::msleep(10);
    }
    if (waitMs <= 0)
        err() << "orv-photos: sources still busy after " << boundMs / 1000 << " s; printing what arrived\n";
}

int commandTree(const QStringList& givenArguments)
{
    QStringList arguments = givenArguments;
    int waitMs = 0;
    if (!takeWaitOption(arguments, "tree", &waitMs))
        return 1;
    bool json = false;
    QString service;
    for (int i = 0; i < arguments.size(); ++i) {
        const QString& argument = arguments.at(i);
        if (argument == QLatin1String("--json")) {
            json = true;
        } else if (argument == QLatin1String("--source") && i + 1 < arguments.size()) {
            service = arguments.at(++i);
        } else {
            err() << "orv-photos tree: unknown argument " << argument << "\n";
            return 1;
        }
    }
    QList<QPair<quint32, OrvExternalDatabase*>> sources;
    for (const auto& source : registeredSources()) {
        if (service.isEmpty() || source.second->serviceId() == service)
            sources.append(source);
    }
    if (sources.isEmpty()) {
        err() << "orv-photos tree: " << (service.isEmpty() ? QStringLiteral("no photo sources registered")
                                                           : QStringLiteral("no source ") + service)
              << "\n";
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
