#include "Commands.h"

#include "OrvDidYouMean.h"
#include "OrvExternalDatabase.h"
#include "OrvFotoRegistries.h"
#include "OrvLibraryLocations.h"
#include "OrvUsage.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

// The table: one entry an option, its texts in the command line's translation context.
struct Table
{
    Q_DECLARE_TR_FUNCTIONS(OrvCommandLine)

public:
    static constexpr const char* libraries = QT_TR_NOOP("Libraries");
    static constexpr const char* cameras = QT_TR_NOOP("Cameras");
    static constexpr const char* program = QT_TR_NOOP("Program");

    static QList<OrvOption> globalOptions()
    {
        using Kind = OrvValueKind;
        return {
            {"photos-library", "PATH", QT_TR_NOOP("the Photos library: a .photoslibrary folder, read as Photos wrote it "
                "and never changed (default: ~/Pictures/Photos Library.photoslibrary when there is one), or a "
                "simulated library's description (JSON, platform/sim/README.md); the PhotoKit source shows it from "
                "macOS 10.15 on (see --os), the MediaLibrary source applephotos a description before"), Kind::File,
             nullptr, 0, libraries},
            {"iphoto-library", "PATH", QT_TR_NOOP("the iPhoto library: its folder or its AlbumData.xml (default: the "
                "preference XMLDataFilePath or RootDirectory in $XDG_CONFIG_HOME/apple/iphoto.conf)"), Kind::File,
             nullptr, 0, libraries},
            {"aperture-library", "PATH", QT_TR_NOOP("the Aperture library: its folder or its ApertureData.xml "
                "(default: the preference XMLDataFilePath or RootDirectory in $XDG_CONFIG_HOME/apple/aperture.conf)"),
             Kind::File, nullptr, 0, libraries},
            {"photo-list", "FILE", QT_TR_NOOP("a photo list file exported by another program"), Kind::File, nullptr, 0,
             libraries, "foto-list"},
            {"devices", "FILE", QT_TR_NOOP("simulated cameras and devices (JSON, platform/sim/README.md) instead of "
                "the connected ones"), Kind::File, nullptr, 0, cameras},
            {"camera", "MODEL=PORT", QT_TR_NOOP("a camera that detection cannot see, as gphoto2 names it (repeatable), "
                "e.g. --camera \"Directory Browse=disk:/path/to/folder\""), Kind::None, nullptr, OrvOption::Repeatable,
             cameras},
            {"language", "de|en", QT_TR_NOOP("the language of everything shown: messages, album names, dates "
                "(default: de on a German system, en otherwise)"), Kind::None, "de en", 0, program},
            {"images-only", nullptr, QT_TR_NOOP("the host wants photos only: the sources leave movies out"), Kind::None,
             nullptr, 0, program},
            {"os", "SYSTEM:VERSION", QT_TR_NOOP("pretend to run on another system, e.g. macos:14.0 or macos:10.14.6"),
             Kind::None, nullptr, 0, program},
            {"program-id", "N", QT_TR_NOOP("the host program id the plug-in sees (default 8)"), Kind::None, nullptr, 0,
             program},
            {"plugin", "PATH", QT_TR_NOOP("the plug-in library (default: $ORV_PLUGIN_PATH, else the one in ../lib "
                "beside the program)"), Kind::File, nullptr, 0, program},
            {"verbose", nullptr, QT_TR_NOOP("show the sources' debug lines"), Kind::None, nullptr, 0, program},
            {"help", nullptr, QT_TR_NOOP("this help; after a command, the command's help"), Kind::None, nullptr, 0,
             program},
            {"version", nullptr, QT_TR_NOOP("the program's version"), Kind::None, nullptr, 0, program},
            {"man", nullptr, QT_TR_NOOP("the manual page, as roff"), Kind::None, nullptr, OrvOption::Hidden},
            {"completion", "bash|zsh", QT_TR_NOOP("a completion script for the shell"), Kind::None, "bash zsh",
             OrvOption::Hidden},
        };
    }

    static QList<OrvCommandSpec> commands()
    {
        using Kind = OrvValueKind;
        const OrvOption json{"json", nullptr, QT_TR_NOOP("print JSON instead of text")};
        const OrvOption source{"source", "SERVICE", QT_TR_NOOP("the source, by its service id (the command sources "
            "lists them)"), Kind::Service};
        const OrvOption waitForCatalogues{"wait", "SECONDS", QT_TR_NOOP("wait up to SECONDS for devices and their "
            "catalogues")};
        OrvOption requiredSource = source;
        requiredSource.flags = OrvOption::Required;
        return {
            {"sources", QT_TR_NOOP("the registered photo sources"),
             QT_TR_NOOP("Lists the sources the plug-in registered: type code, service id, name, and whether the "
                 "source wants to be shown."),
             {json}, nullptr, 0, 0, nullptr, Kind::None, commandSources},
            {"tree", QT_TR_NOOP("every album and photo of one or all sources"),
             QT_TR_NOOP("Starts the sources, opens every album and prints each source's albums as a tree with their "
                 "number of photos; --json prints albums and photos in the form the README describes. A library "
                 "source that found no library says where it looked."),
             {source, json, waitForCatalogues}, nullptr, 0, 0, nullptr, Kind::None, commandTree},
            {"export", QT_TR_NOOP("write an album's photos into a folder"),
             QT_TR_NOOP("Writes the photos of one album into DIR through the source's retrievers, with new names "
                 "where a name is taken. Exit status: 0 all written, 1 a mistake in what was asked (source, album, "
                 "argument), 2 some photos could not be written, 130 interrupted (SIGINT or SIGTERM: the photos "
                 "being written are finished, no new one is begun). Shows a line per photo, on a terminal a progress "
                 "bar."),
             {
                 requiredSource,
                 {"album", "NAME_OR_URL", QT_TR_NOOP("the album, by its name or its id URL"), Kind::None, nullptr,
                  OrvOption::Required},
                 {"size", "N|full", QT_TR_NOOP("N: pixels that fit into N by N; full: the photo's file"), Kind::None,
                  nullptr, OrvOption::Required},
                 {"format", "jpeg|png|original", QT_TR_NOOP("how the pixels are written; original keeps PNG as PNG "
                     "and writes the rest as JPEG, or with --size full the stored bytes"), Kind::None,
                  "jpeg png original", OrvOption::Required},
                 {"out", "DIR", QT_TR_NOOP("the folder to write into (made if missing)"), Kind::Directory, nullptr,
                  OrvOption::Required},
                 {"skip-existing", nullptr, QT_TR_NOOP("leave out a photo whose file is in DIR already under the "
                     "name it would be written under (counted as skipped): with --size full --format original when "
                     "that file has the size of the one fetched, otherwise by the name alone, before fetching")},
                 {"dry-run", nullptr, QT_TR_NOOP("print what would be written (the source's name, the name in DIR) "
                     "and the counts; write nothing and make no folder")},
                 waitForCatalogues,
             },
             nullptr, 0, 0, nullptr, Kind::None, commandExport},
            {"cameras", QT_TR_NOOP("the cameras connected, with model and port"),
             QT_TR_NOOP("Lists the cameras connected now, as gphoto2 --auto-detect does, and those named with "
                 "--camera; with --devices the simulated ones."),
             {{"wait", "SECONDS", QT_TR_NOOP("first wait SECONDS for cameras to arrive")}}, nullptr, 0, 0, nullptr,
             Kind::None, commandCameras},
            {"browse", QT_TR_NOOP("a window with the sources, an album's thumbnails and a photo's details"),
             QT_TR_NOOP("Opens the photo browser. With --screenshot it opens the album named by --source and "
                 "--album, waits for the visible thumbnails, saves the window as PNG and exits."),
             {
                 source,
                 {"album", "NAME_OR_URL", QT_TR_NOOP("the album to open (needs --source)")},
                 {"select", "N", QT_TR_NOOP("select the N-th photo of the album, from 0, and show its details")},
                 {"screenshot", "FILE", QT_TR_NOOP("save the window as PNG into this new file and exit"), Kind::File},
                 {"size", "WxH", QT_TR_NOOP("the window's size (default 1280x800)")},
                 {"dialog", "DIALOG", QT_TR_NOOP("with --screenshot: that dialog open over the window"), Kind::None,
                  "export progress about"},
                 {"plugged-in", nullptr, QT_TR_NOOP("open the album of the camera just plugged in, as soon as it "
                     "appears (up to a minute): the camera at PLACE (a mounted card's folder or its file: URL, as "
                     "the desktop passes it; served as a Directory Browse camera), else the one --album names, "
                     "else the first")},
             },
             "[PLACE]", 0, 1, nullptr, Kind::Directory, commandBrowse},
            {"autostart", QT_TR_NOOP("whether plugging in a camera starts this program"),
             QT_TR_NOOP("Shows for each connected camera whether plugging it in starts this program; on or off "
                 "sets it."),
             {{"wait", "SECONDS", QT_TR_NOOP("wait up to SECONDS for cameras (default 5)")}}, "[on|off]", 0, 1,
             "on off", Kind::None, commandAutostart},
            {"ls", QT_TR_NOOP("a folder's entries with kind, permissions and date"),
             QT_TR_NOOP("Lists a folder's entries as ls -l shows kind and the owner's permissions; photokitfs: paths "
                 "go through the plug-in's file engine (with --program-id 8)."),
             {}, "PATH", 1, 1, nullptr, Kind::Directory, commandLs},
            {"paste", QT_TR_NOOP("a drop of Photos assets: the URLs it gives and the photos they name"),
             QT_TR_NOOP("Reads one property list file per dropped item, converts them as a drop from Photos is "
                 "converted and prints the URLs and the photos they name."),
             {}, "FILE...", 1, -1, nullptr, Kind::File, commandPaste},
            {"help", QT_TR_NOOP("the help of the program or of a command"),
             QT_TR_NOOP("Shows the help of COMMAND, or of the program."), {}, "[COMMAND]", 0, 1, nullptr,
             Kind::Command, commandHelp, false},
        };
    }
};

} // namespace

QList<OrvOption> orvGlobalOptions() { return Table::globalOptions(); }

QList<OrvCommandSpec> orvCommands() { return Table::commands(); }

const OrvCommandLine& orvCommandLine()
{
    static const OrvCommandLine commandLine(orvGlobalOptions(), orvCommands());
    return commandLine;
}

QTextStream& out()
{
    static QTextStream stream(stdout);
    return stream;
}

QTextStream& err()
{
    static QTextStream stream(stderr);
    return stream;
}

QTextStream& fail(const char* command)
{
    out().flush();
    return err() << "orv-photos " << command << ": ";
}

bool waitOption(const OrvArguments& arguments, const char* command, int* waitMs)
{
    *waitMs = 0;
    if (!arguments.isSet(QStringLiteral("wait")))
        return true;
    bool ok = false;
    const double seconds = arguments.value(QStringLiteral("wait")).toDouble(&ok);
    if (!ok || !(seconds > 0) || seconds > 3600) {
        fail(command) << OrvCommandLine::tr("--wait takes a number of seconds (at most 3600)") << "\n";
        return false;
    }
    *waitMs = int(seconds * 1000);
    return true;
}

QString photoCount(qsizetype count)
{
    return count == 1 ? OrvCommandLine::tr("1 photo") : OrvCommandLine::tr("%1 photos").arg(count);
}

QList<QPair<quint32, OrvExternalDatabase*>> registeredSources()
{
    QList<QPair<quint32, OrvExternalDatabase*>> sources;
    const OrvFotoDatabaseFactory* factory = OrvSingleton<OrvFotoDatabaseFactory>::instance();
    for (const OrvFotoDatabaseType& type : factory->types()) {
        if (OrvExternalDatabase* database = factory->database(type))
            sources.append({type.code(), database});
    }
    return sources;
}

OrvExternalDatabase* findSource(const QString& service, const char* command)
{
    QStringList services;
    for (const auto& source : registeredSources()) {
        if (source.second->serviceId() == service)
            return source.second;
        services.append(source.second->serviceId());
    }
    const QString nearest = OrvDidYouMean::nearest(service, services);
    fail(command)
        << (nearest.isEmpty()
                ? OrvCommandLine::tr("no source %1 (sources: %2)").arg(service, services.join(QStringLiteral(", ")))
                : OrvCommandLine::tr("no source %1; did you mean %2?").arg(service, nearest))
        << "\n";
    return nullptr;
}

OrvExternalId findAlbum(OrvExternalDatabase* database, const QString& nameOrUrl, const char* command)
{
    const OrvExternalAlbumList albums = database->albums();
    QStringList names;
    for (const OrvExternalAlbum& album : albums) {
        if (album.url().toString() == nameOrUrl || album.url().toString(QUrl::FullyEncoded) == nameOrUrl)
            return album.id();
        names.append(album.name());
    }
    const OrvExternalId id = albums.findAlbumIdByVisibleName(nameOrUrl);
    if (id.isValid())
        return id;
    const QString nearest = OrvDidYouMean::nearest(nameOrUrl, names);
    const QString why = whyEmpty(database);
    QTextStream& stream
        = fail(command) << OrvCommandLine::tr("no album %1 in %2").arg(nameOrUrl, database->serviceId());
    if (!nearest.isEmpty())
        stream << OrvCommandLine::tr("; did you mean %1?").arg(nearest);
    else if (!why.isEmpty())
        stream << " (" << why << ")";
    stream << "\n";
    return OrvExternalId();
}

QString whyEmpty(OrvExternalDatabase* database)
{
    if (database->countFotos() > 0)
        return QString();
    return OrvLibraryLocations::instance().whyEmpty(database->serviceId());
}

QJsonObject describeSource(quint32 type, OrvExternalDatabase* database)
{
    QJsonObject source;
    source.insert(QStringLiteral("type"), qint64(type));
    source.insert(QStringLiteral("service"), database->serviceId());
    source.insert(QStringLiteral("name"), database->service().displayName());
    source.insert(QStringLiteral("shown"), database->wantsToBeShown());
    return source;
}

void printJson(const QJsonObject& object)
{
    out() << QJsonDocument(object).toJson(QJsonDocument::Indented);
    out().flush();
}

int commandSources(const OrvArguments& arguments)
{
    const auto sources = registeredSources();
    if (arguments.isSet(QStringLiteral("json"))) {
        QJsonArray list;
        for (const auto& [type, database] : sources)
            list.append(describeSource(type, database));
        printJson(QJsonObject{{QStringLiteral("sources"), list}});
        return 0;
    }
    for (const auto& [type, database] : sources) {
        out() << QString::number(type).rightJustified(5) << "  " << database->serviceId().leftJustified(18) << "  "
              << database->service().displayName().leftJustified(24) << "  "
              << (database->wantsToBeShown() ? OrvCommandLine::tr("shown") : OrvCommandLine::tr("hidden")) << "\n";
    }
    if (sources.isEmpty())
        out() << OrvCommandLine::tr("no photo sources registered") << "\n";
    return 0;
}

int commandHelp(const OrvArguments& arguments)
{
    const QString name = arguments.arguments().value(0);
    if (!name.isEmpty() && !orvCommandLine().command(name)) {
        OrvCommandLineError error;
        error.kind = OrvCommandLineError::UnknownCommand;
        error.subject = name;
        error.suggestion = OrvDidYouMean::nearest(name, orvCommandLine().commandNames());
        fail("help") << OrvCommandLine::describe(error) << "\n";
        return 1;
    }
    out() << OrvUsage(orvCommandLine()).help(name);
    return 0;
}
