#include "Commands.h"

#include "OrvDidYouMean.h"
#include "OrvExternalDatabase.h"
#include "OrvFotoRegistries.h"
#include "OrvLibraryLocations.h"
#include "OrvUsage.h"

#include <QJsonArray>
#include <QJsonDocument>

namespace {

const char* const libraries = QT_TRANSLATE_NOOP("OrvCommandLine", "Libraries");
const char* const cameras = QT_TRANSLATE_NOOP("OrvCommandLine", "Cameras");
const char* const program = QT_TRANSLATE_NOOP("OrvCommandLine", "Program");

OrvOption waitFor(const char* what)
{
    return {"wait", "SECONDS", what, OrvValueKind::None};
}

OrvOption sourceOption(unsigned flags = 0)
{
    return {"source", "SERVICE", QT_TRANSLATE_NOOP("OrvCommandLine", "the source, by its service id (the command sources lists them)"), OrvValueKind::Service,
            nullptr, flags};
}

const OrvOption json{"json", nullptr, QT_TRANSLATE_NOOP("OrvCommandLine", "print JSON instead of text")};

} // namespace

QList<OrvOption> orvGlobalOptions()
{
    return {
        {"photos-library", "FILE",
         QT_TRANSLATE_NOOP("OrvCommandLine", "the Photos library: a simulated library's description (JSON, platform/sim/README.md); the PhotoKit "
                  "source shows it from macOS 10.15 on (see --os), the MediaLibrary source applephotos before"),
         OrvValueKind::File, nullptr, 0, libraries},
        {"iphoto-library", "PATH",
         QT_TRANSLATE_NOOP("OrvCommandLine", "the iPhoto library: its folder or its AlbumData.xml (default: the preference XMLDataFilePath or "
                  "RootDirectory in $XDG_CONFIG_HOME/apple/iphoto.conf)"),
         OrvValueKind::File, nullptr, 0, libraries},
        {"aperture-library", "PATH",
         QT_TRANSLATE_NOOP("OrvCommandLine", "the Aperture library: its folder or its ApertureData.xml (default: the preference XMLDataFilePath or "
                  "RootDirectory in $XDG_CONFIG_HOME/apple/aperture.conf)"),
         OrvValueKind::File, nullptr, 0, libraries},
        {"photo-list", "FILE", QT_TRANSLATE_NOOP("OrvCommandLine", "a photo list file exported by another program"), OrvValueKind::File, nullptr, 0,
         libraries, "foto-list"},
        {"devices", "FILE",
         QT_TRANSLATE_NOOP("OrvCommandLine", "simulated cameras and devices (JSON, platform/sim/README.md) instead of the connected ones"),
         OrvValueKind::File, nullptr, 0, cameras},
        {"camera", "MODEL=PORT",
         QT_TRANSLATE_NOOP("OrvCommandLine", "a camera that detection cannot see, as gphoto2 names it (repeatable), e.g. "
                  "--camera \"Directory Browse=disk:/path/to/folder\""),
         OrvValueKind::None, nullptr, OrvOption::Repeatable, cameras},
        {"language", "de|en",
         QT_TRANSLATE_NOOP("OrvCommandLine", "the language of everything shown: messages, album names, dates (default: de on a German system, en "
                  "otherwise)"),
         OrvValueKind::None, "de en", 0, program},
        {"images-only", nullptr, QT_TRANSLATE_NOOP("OrvCommandLine", "the host wants photos only: the sources leave movies out"), OrvValueKind::None,
         nullptr, 0, program},
        {"os", "SYSTEM:VERSION", QT_TRANSLATE_NOOP("OrvCommandLine", "pretend to run on another system, e.g. macos:14.0 or macos:10.14.6"),
         OrvValueKind::None, nullptr, 0, program},
        {"program-id", "N", QT_TRANSLATE_NOOP("OrvCommandLine", "the host program id the plug-in sees (default 8)"), OrvValueKind::None, nullptr, 0,
         program},
        {"plugin", "PATH",
         QT_TRANSLATE_NOOP("OrvCommandLine", "the plug-in library (default: $ORV_PLUGIN_PATH, else the one in ../lib beside the program)"),
         OrvValueKind::File, nullptr, 0, program},
        {"verbose", nullptr, QT_TRANSLATE_NOOP("OrvCommandLine", "show the sources' debug lines"), OrvValueKind::None, nullptr, 0, program},
        {"help", nullptr, QT_TRANSLATE_NOOP("OrvCommandLine", "this help; after a command, the command's help"), OrvValueKind::None, nullptr, 0,
         program},
        {"version", nullptr, QT_TRANSLATE_NOOP("OrvCommandLine", "the program's version"), OrvValueKind::None, nullptr, 0, program},
        {"man", nullptr, QT_TRANSLATE_NOOP("OrvCommandLine", "the manual page, as roff"), OrvValueKind::None, nullptr, OrvOption::Hidden},
        {"completion", "bash|zsh", QT_TRANSLATE_NOOP("OrvCommandLine", "a completion script for the shell"), OrvValueKind::None, "bash zsh",
         OrvOption::Hidden},
    };
}

QList<OrvCommandSpec> orvCommands()
{
    return {
        {"sources", QT_TRANSLATE_NOOP("OrvCommandLine", "the registered photo sources"),
         QT_TRANSLATE_NOOP("OrvCommandLine", "Lists the sources the plug-in registered: type code, service id, name, and whether the source wants "
                  "to be shown."),
         {json}, nullptr, 0, 0, nullptr, OrvValueKind::None, commandSources},
        {"tree", QT_TRANSLATE_NOOP("OrvCommandLine", "every album and photo of one or all sources"),
         QT_TRANSLATE_NOOP("OrvCommandLine", "Starts the sources, opens every album and prints each source's albums as a tree with their number of "
                  "photos; --json prints albums and photos in the form the README describes. A library source that "
                  "found no library says where it looked."),
         {sourceOption(), json, waitFor(QT_TRANSLATE_NOOP("OrvCommandLine", "wait up to SECONDS for devices and their catalogues"))}, nullptr, 0, 0,
         nullptr, OrvValueKind::None, commandTree},
        {"export", QT_TRANSLATE_NOOP("OrvCommandLine", "write an album's photos into a folder"),
         QT_TRANSLATE_NOOP("OrvCommandLine", "Writes the photos of one album into DIR through the source's retrievers, with new names where a name "
                  "is taken. Exit status: 0 all written, 1 a mistake in what was asked (source, album, argument), 2 some "
                  "photos could not be written."),
         {sourceOption(OrvOption::Required),
          {"album", "NAME_OR_URL", QT_TRANSLATE_NOOP("OrvCommandLine", "the album, by its name or its id URL"), OrvValueKind::None, nullptr,
           OrvOption::Required},
          {"size", "N|full",
           QT_TRANSLATE_NOOP("OrvCommandLine", "N: pixels that fit into N by N; full: the photo's file"), OrvValueKind::None, nullptr,
           OrvOption::Required},
          {"format", "jpeg|png|original",
           QT_TRANSLATE_NOOP("OrvCommandLine", "how the pixels are written; original keeps PNG as PNG and writes the rest as JPEG, or with --size "
                    "full the stored bytes"),
           OrvValueKind::None, "jpeg png original", OrvOption::Required},
          {"out", "DIR", QT_TRANSLATE_NOOP("OrvCommandLine", "the folder to write into (made if missing)"), OrvValueKind::Directory, nullptr,
           OrvOption::Required},
          waitFor(QT_TRANSLATE_NOOP("OrvCommandLine", "wait up to SECONDS for devices and their catalogues"))},
         nullptr, 0, 0, nullptr, OrvValueKind::None, commandExport},
        {"cameras", QT_TRANSLATE_NOOP("OrvCommandLine", "the cameras connected, with model and port"),
         QT_TRANSLATE_NOOP("OrvCommandLine", "Lists the cameras connected now, as gphoto2 --auto-detect does, and those named with --camera; with "
                  "--devices the simulated ones."),
         {waitFor(QT_TRANSLATE_NOOP("OrvCommandLine", "first wait SECONDS for cameras to arrive"))}, nullptr, 0, 0, nullptr, OrvValueKind::None,
         commandCameras},
        {"browse", QT_TRANSLATE_NOOP("OrvCommandLine", "a window with the sources, an album's thumbnails and a photo's details"),
         QT_TRANSLATE_NOOP("OrvCommandLine", "Opens the photo browser. With --screenshot it opens the album named by --source and --album, waits "
                  "for the visible thumbnails, saves the window as PNG and exits."),
         {sourceOption(),
          {"album", "NAME_OR_URL", QT_TRANSLATE_NOOP("OrvCommandLine", "the album to open (needs --source)")},
          {"select", "N", QT_TRANSLATE_NOOP("OrvCommandLine", "select the N-th photo of the album, from 0, and show its details")},
          {"screenshot", "FILE", QT_TRANSLATE_NOOP("OrvCommandLine", "save the window as PNG into this new file and exit"), OrvValueKind::File},
          {"size", "WxH", QT_TRANSLATE_NOOP("OrvCommandLine", "the window's size (default 1280x800)")}},
         nullptr, 0, 0, nullptr, OrvValueKind::None, commandBrowse},
        {"autostart", QT_TRANSLATE_NOOP("OrvCommandLine", "whether plugging in a camera starts this program"),
         QT_TRANSLATE_NOOP("OrvCommandLine", "Shows for each connected camera whether plugging it in starts this program; on or off sets it."),
         {waitFor(QT_TRANSLATE_NOOP("OrvCommandLine", "wait up to SECONDS for cameras (default 5)"))}, "[on|off]", 0, 1, "on off",
         OrvValueKind::None, commandAutostart},
        {"ls", QT_TRANSLATE_NOOP("OrvCommandLine", "a folder's entries with kind, permissions and date"),
         QT_TRANSLATE_NOOP("OrvCommandLine", "Lists a folder's entries as ls -l shows kind and the owner's permissions; photokitfs: paths go "
                  "through the plug-in's file engine (with --program-id 8)."),
         {}, "PATH", 1, 1, nullptr, OrvValueKind::Directory, commandLs},
        {"paste", QT_TRANSLATE_NOOP("OrvCommandLine", "a drop of Photos assets: the URLs it gives and the photos they name"),
         QT_TRANSLATE_NOOP("OrvCommandLine", "Reads one property list file per dropped item, converts them as a drop from Photos is converted and "
                  "prints the URLs and the photos they name."),
         {}, "FILE...", 1, -1, nullptr, OrvValueKind::File, commandPaste},
        {"help", QT_TRANSLATE_NOOP("OrvCommandLine", "the help of the program or of a command"), QT_TRANSLATE_NOOP("OrvCommandLine", "Shows the help of COMMAND, or of the program."),
         {}, "[COMMAND]", 0, 1, nullptr, OrvValueKind::Command, commandHelp, false},
    };
}

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
    fail(command) << (nearest.isEmpty() ? OrvCommandLine::tr("no source %1 (sources: %2)").arg(service, services.join(QStringLiteral(", ")))
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
    QTextStream& stream = fail(command) << OrvCommandLine::tr("no album %1 in %2").arg(nameOrUrl, database->serviceId());
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
