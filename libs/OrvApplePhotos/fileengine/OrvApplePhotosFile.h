#pragma once

#include <QPair>
#include <QString>
#include <QUrl>

// Pseudo paths of Photos assets ("photokitfs:..."): recognising them, and
// copies in real files for code that needs one. Free of Qt's private headers,
// so that the rest of the plug-in can use it.
class OrvApplePhotosFile
{
public:
    static constexpr const char* prefix = "photokitfs:";

    // (database name, file part): ("photokitfs", the path from its last
    // "photokitfs:" on) for a path that begins with the prefix, else both empty.
    static QPair<QString, QString> splitPathAndFile(const QString& path);
    static bool isApplePhotosPath(const QString& path);
    static QString dbFile(const QString& path);

    // A real file with what the pseudo path of url (a local-file URL) reads as,
    // in the host's temporary folder; the same file for the same path every
    // time. Any other URL comes back unchanged.
    static QUrl externalize(const QUrl& url);
    // Removes every copy that externalize made.
    static void deleteTempFiles();

    // Installs the file engine handler for pseudo paths (once; it lives as long as the process).
    static void installHandler();
};
