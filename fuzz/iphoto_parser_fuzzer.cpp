// libFuzzer target: an iPhoto or Aperture library file of arbitrary bytes,
// read as the iPhoto source reads it (parser, then the pools with persons and
// month albums), and once more on two threads and, where the middle allows,
// in two halves: both readings must agree. Anything but a clean return is a finding.

#include "OrvExternalPools.h"
#include "OrvIPhotoDatabaseParser.h"

#include <QCoreApplication>

#include <cstddef>
#include <cstdint>
#include <cstdio>
#include <cstdlib>

namespace {

// Everything a parse gave, in order.
QStringList describe(const OrvIPhotoDatabaseParser& parser)
{
    QStringList lines;
    for (const OrvExternalAlbumPool& pool : {parser.albums(), parser.persons()}) {
        for (const OrvExternalAlbum& album : pool.albums()) {
            QStringList ids;
            for (const OrvExternalId& id : album.fotoIds())
                ids.append(id.toString());
            lines.append(album.id().toString() + QLatin1Char(' ') + album.name() + QLatin1Char(' ')
                         + QString::number(album.type().code()) + QLatin1Char(' ') + ids.join(QLatin1Char(','))
                         + QLatin1Char(' ') + album.parentAlbum().toString());
        }
    }
    for (const OrvExternalFoto& foto : parser.fotos().fotos()) {
        const OrvExternalFotoImplData* data = foto.data();
        QStringList faces;
        for (const OrvExternalFace& face : data->faces())
            faces.append(face.id().toString());
        lines.append(foto.id().toString() + QLatin1Char(' ') + data->name() + QLatin1Char(' ')
                     + data->taken().toString(Qt::ISODate) + QLatin1Char(' ') + QString::number(data->adobeRating())
                     + QLatin1Char(' ') + faces.join(QLatin1Char(',')));
    }
    return lines;
}

} // namespace

extern "C" int LLVMFuzzerInitialize(int* argc, char*** argv)
{
    // Some Qt classes want an application object; debug lines would drown the fuzzer's output.
    static QCoreApplication app(*argc, *argv);
    qInstallMessageHandler([](QtMsgType type, const QMessageLogContext&, const QString& message) {
        if (type == QtCriticalMsg || type == QtFatalMsg)
            fprintf(stderr, "%s\n", qPrintable(message));
    });
    return 0;
}

extern "C" int LLVMFuzzerTestOneInput(const uint8_t* data, size_t size)
{
    const QByteArray bytes(reinterpret_cast<const char*>(data), qsizetype(size));
    OrvIPhotoDatabaseParser parser(OrvExternalUrlBuilder(QStringLiteral("iphoto")));
    parser.parseData(bytes);

    OrvIPhotoDatabaseParser halves(OrvExternalUrlBuilder(QStringLiteral("iphoto")));
    halves.setThresholds(0, 0);
    halves.parseData(bytes);
    if (describe(parser) != describe(halves)) {
        fprintf(stderr, "two readers disagree with one (%d readers)\n", halves.readers());
        abort();
    }

    const OrvExternalDataPool pool = parser.dataPool();

    // Touch what the browser would show, so that broken values surface here; folders hold a tree.
    for (const OrvExternalAlbum& album : pool.albums()) {
        (void)pool.fotosInAlbumTree(album.id()).size();
        int depth = 0;
        for (OrvExternalId up = album.parentAlbum(); up.isValid(); up = pool.findAlbum(up).parentAlbum()) {
            if (++depth > OrvIPhotoDatabaseParser::maxFolderDepth) {
                fprintf(stderr, "folders nest deeper than allowed, or in a circle\n");
                abort();
            }
        }
    }
    return 0;
}
