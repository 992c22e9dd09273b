#pragma once

#include "OrvMediaFormat.h"
#include "OrvTargetFolder.h"

#include <QSet>
#include <QSize>
#include <QString>

#include <memory>
#include <mutex>
#include <vector>

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
// Several threads may write at once: a name is reserved for one foto from the
// moment it is given out until its file is there (or not), so that the names
// depend on the order they are asked for in, not on which write ends first.
class OrvFotoExporter
{
public:
    struct Options
    {
        bool full = false;
        int edge = 0;           // with full false: the bounding square's edge
        OrvMediaFormat format;  // invalid: original
        // A foto whose first name is taken in the folder is not written again:
        // stored bytes (full, original) when the file there has their size;
        // pixels made anew (a size, a recoding) by the name alone.
        bool skipExisting = false;
    };
    // FolderRefused: the folder takes no file at all; the rest would fail alike.
    // Skipped: with skipExisting, the foto is there already.
    enum Result { Written, Nothing, WriteFailed, FolderRefused, Skipped };

    // The name a foto is written under, reserved for it.
    struct Target
    {
        QString name;
        QString existing;  // with skipExisting: the file to compare what is fetched with
        bool skip = false;  // with skipExisting: there already, known without fetching
    };

    // planOnly: names are only given out (a dry run); a missing folder is not made.
    OrvFotoExporter(const QString& folder, const Options& options, bool planOnly = false);
    ~OrvFotoExporter();

    bool isOpen() const { return myNaming.isOpen(); }
    QString errorString() const { return myNaming.errorString(); }
    QString folderPath() const { return myPath; }

    // The name the foto gets, or the foto's file there when it is skipped; an
    // empty name when none is free. Names are given in the order of the calls.
    Target reserve(const OrvExternalFoto& foto);
    // Fetches through retriever (owned by the caller) and writes as target
    // says, then lets its name go; name gets the file's name, error why it was
    // not written. Thread-safe.
    Result write(const OrvExternalFoto& foto, const Target& target, OrvFotoRetrieverInterface* retriever,
                 QString* name = nullptr, QString* error = nullptr);
    Result write(const OrvExternalFoto& foto, OrvFotoRetrieverInterface* retriever, QString* name = nullptr,
                 QString* error = nullptr)
    {
        return write(foto, reserve(foto), retriever, name, error);
    }
    // The name the foto's file goes by in the source, as the export names it.
    QString sourceName(const OrvExternalFoto& foto) const;

private:
    // A handle on the folder for one writing thread at a time (a folder keeps
    // the state of its last write).
    struct Writer;
    Writer* takeWriter();
    void giveBack(Writer* writer);
    // The check of every file written: a whole image of the kind its name says.
    bool accepts(Writer* writer, OrvUserFile* file, QString* name, QString* why);
    // Whether the folder holds a regular file firstName of file's size (then the writer says so).
    bool isThere(Writer* writer, OrvUserFile* file, const QString& firstName, QString* why) const;
    QString wantedName(const OrvExternalFoto& foto) const;
    // name made unique in the folder and among the reserved ones, and reserved; caller holds myNamesMutex.
    QString reserveLocked(const QString& name);
    void release(const QString& name);

    Options myOptions;
    bool myPlanOnly;
    QString myPath;
    std::mutex myNamesMutex;
    OrvTargetFolder myNaming;  // under myNamesMutex
    QSet<QString> myUsed;      // lower case; under myNamesMutex
    std::mutex myWritersMutex;
    std::vector<std::unique_ptr<Writer>> myWriters;
    std::vector<Writer*> myIdle;
};
