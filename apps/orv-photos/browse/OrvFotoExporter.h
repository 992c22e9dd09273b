#pragma once

#include "OrvMediaFormat.h"
#include "OrvTargetFolder.h"

#include <QSet>
#include <QSize>
#include <QString>

class OrvExternalFoto;
class OrvFotoRetrieverInterface;
class OrvUserFile;

// Writes fotos into a folder, as `orv-photos export` and the browser's
// "Export…" do: pixels that fit a size, encoded as asked ("original": PNG
// stays PNG, the rest becomes JPEG), or at full size the foto's file in the
// format asked (original: the stored bytes, streamed, named with the suffix
// of what they hold; a format the source does not store the foto in: its full
// pixels, recoded). Whatever the source, a file is written only as a whole
// image of the kind its name says, and a source's placeholder never. Names come from the fotos' names, with -2, -3,
// ... where they would clash with each other or with anything in the folder.
class OrvFotoExporter
{
public:
    struct Options
    {
        bool full = false;
        int edge = 0;           // with full false: the bounding square's edge
        OrvMediaFormat format;  // invalid: original
    };
    // FolderRefused: the folder takes no file at all; the rest would fail alike.
    enum Result { Written, Nothing, WriteFailed, FolderRefused };

    OrvFotoExporter(const QString& folder, const Options& options);

    bool isOpen() const { return myFolder.isOpen(); }
    QString errorString() const { return myFolder.errorString(); }
    QString folderPath() const { return myFolder.path(); }

    // Fetches through retriever (owned by the caller) and writes; name gets the file's name.
    Result write(const OrvExternalFoto& foto, OrvFotoRetrieverInterface* retriever, QString* name = nullptr);

private:
    // The check of every file written: a whole image of the kind its name says.
    bool accepts(OrvUserFile* file, QString* name, QString* why);
    QString uniqueName(const OrvExternalFoto& foto, const QString& fotoName, const QString& suffix);

    OrvTargetFolder myFolder;
    Options myOptions;
    QSet<QString> myUsed;
};
