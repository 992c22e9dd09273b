// libFuzzer target: an iPhoto or Aperture library file of arbitrary bytes,
// read as the iPhoto source reads it (parser, then the pools with persons and
// month albums). Anything but a clean return is a finding.

#include "OrvExternalPools.h"
#include "OrvIPhotoDatabaseParser.h"

#include <QCoreApplication>

#include <cstddef>
#include <cstdint>
#include <cstdio>

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
    OrvIPhotoDatabaseParser parser(OrvExternalUrlBuilder(QStringLiteral("iphoto")));
    parser.parseData(QByteArray(reinterpret_cast<const char*>(data), qsizetype(size)));

    const OrvExternalDataPool pool = parser.dataPool();

    // Touch what the browser would show, so that broken values surface here.
    for (const OrvExternalAlbum& album : pool.albums())
        (void)pool.fotosInAlbum(album.id()).size();
    return 0;
}
