#include "Commands.h"

#include "OrvFotoRegistries.h"
#include "OrvInitializer.h"
#include "OrvPlatformIndependent.h"
#include "OrvProgramConfig.h"
#include "OrvUserFile.h"
#include "sim/OrvMediaLibrarySimBackend.h"
#include "OrvImageIOQt.h"
#include "OrvPhotosLibraryChoice.h"
#include "sim/OrvImageCaptureSim.h"
#include "sim/OrvPhotoKitSimLibrary.h"
#ifdef ORV_HAVE_GPHOTO2
#include "gphoto2/OrvGPhoto2Backend.h"
#endif

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLibrary>
#include <QLocale>
#include <QMutex>
#include <QSet>
#include <QLoggingCategory>
#include <QTranslator>

#include <cstdio>

namespace {

// This program resolves Photos asset paths as files, as the desktop application does.
constexpr int defaultProgramId = 8;

void printUsage()
{
    err() << "usage: orv-photos [global options] COMMAND [arguments]\n"
             "global options:\n"
             "  --plugin PATH          the plug-in library (default: ../lib/" ORV_PLUGIN_FILE_NAME " beside the program,\n"
             "                         or $ORV_PLUGIN_PATH)\n"
             "  --program-id N         host program id the plug-in sees (default 8)\n"
             "  --os SYSTEM:VERSION    pretend to run on another system, e.g. macos:14.0 or macos:10.14.6\n"
             "  --verbose              show the sources' debug lines\n"
             "  --foto-list PATH       foto list file exported by another program\n"
             "  --photos-library PATH  the Photos library the PhotoKit source shows (needs --os macos:10.15 or later):\n"
             "                         a .photoslibrary folder, read as Photos wrote it and never changed (default:\n"
             "                         ~/Pictures/Photos Library.photoslibrary when there is one), or a simulated\n"
             "                         library's description (JSON, see platform/sim/README.md), where access is\n"
             "                         granted unless the description's \"authorization\" says otherwise\n"
             "                         (before macOS 10.15 the MediaLibrary source \"applephotos\" shows it)\n"
             "  --images-only          the host wants photos only: sources leave movies out\n"
             "  --language de|en       language of album names and messages (default: de for a German\n"
             "                         system locale, en otherwise)\n"
             "  --devices FILE         simulated cameras and devices (JSON, see platform/sim/README.md) instead\n"
             "                         of the connected ones\n"
             "  --camera MODEL=PORT    a camera detection cannot see, as gphoto2 names it (repeatable), e.g.\n"
             "                         --camera \"Directory Browse=disk:/path/to/folder\"\n"
             "commands:\n";
    for (const OrvCommand& command : orvCommands())
        err() << "  " << command.usage << "\n";
    err().flush();
}

QtMessageHandler previousHandler = nullptr;

// Files refused by the host's file access, each said once, as this program's own line.
void showRefusedFiles(QtMsgType type, const QMessageLogContext& context, const QString& message)
{
    if (qstrcmp(context.category, "orv.files") != 0) {
        if (previousHandler)
            previousHandler(type, context, message);
        return;
    }
    static QMutex mutex;
    static QSet<QString> said;
    QMutexLocker locker(&mutex);
    if (!said.contains(message)) {
        said.insert(message);
        // Any thread may log: straight to stderr, not through the main thread's stream.
        std::fprintf(stderr, "orv-photos: %s\n", message.toLocal8Bit().constData());
    }
}

QString defaultPluginPath()
{
    const QString fromEnvironment = qEnvironmentVariable("ORV_PLUGIN_PATH");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("../lib/" ORV_PLUGIN_FILE_NAME));
}

} // namespace

int main(int argc, char** argv)
{
    // A command-line tool: no window system needed unless the caller asks for
    // one, or for the browser on a desktop (its screenshots need none either).
    bool onScreen = false;
    for (int i = 1; i < argc; ++i) {
        if (qstrcmp(argv[i], "browse") == 0)
            onScreen = true;
        if (qstrcmp(argv[i], "--screenshot") == 0)
            onScreen = false;
    }
    onScreen = onScreen && (!qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"));
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !onScreen)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    // Qt would take options such as --plugin for itself: parse our own copy.
    QStringList arguments;
    for (int i = 1; i < argc; ++i)
        arguments.append(QString::fromLocal8Bit(argv[i]));
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
        const QString runtime = QDir::tempPath() + QStringLiteral("/orv-photos-runtime-") + qEnvironmentVariable("USER", QStringLiteral("user"));
        QDir().mkpath(runtime);
        QFile::setPermissions(runtime, QFileDevice::ReadOwner | QFileDevice::WriteOwner | QFileDevice::ExeOwner);
        qputenv("XDG_RUNTIME_DIR", runtime.toLocal8Bit());
    }
    int qtArgc = 1;
    QApplication app(qtArgc, argv);
    QCoreApplication::setApplicationName(QStringLiteral("orv-photos"));

    // The sources' debug lines are for developers; --verbose shows them. A file
    // that a library names but that cannot be read is the user's business: one line each.
    if (qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false\norv.files.debug=true"));
    previousHandler = qInstallMessageHandler(showRefusedFiles);

    QString pluginPath = defaultPluginPath();
    int programId = defaultProgramId;
    bool verbose = false;
    QString language = QLocale::system().language() == QLocale::German ? QStringLiteral("de") : QStringLiteral("en");
    bool simulatedDevices = false;
    QList<QPair<QString, QString>> cameras;
    QString photosLibrary;
    while (!arguments.isEmpty() && arguments.first().startsWith(QLatin1String("--"))) {
        const QString option = arguments.takeFirst();
        if (option == QLatin1String("--help")) {
            printUsage();
            return 0;
        }
        if (option == QLatin1String("--verbose")) {
            verbose = true;
            continue;
        }
        if (option == QLatin1String("--images-only")) {
            OrvSingleton<OrvPlatformIndependent>::instance()->setImagesOnly(true);
            continue;
        }
        if (arguments.isEmpty()) {
            err() << "orv-photos: " << option << " needs a value\n";
            return 1;
        }
        const QString value = arguments.takeFirst();
        if (option == QLatin1String("--plugin")) {
            pluginPath = value;
        } else if (option == QLatin1String("--program-id")) {
            bool ok = false;
            programId = value.toInt(&ok);
            if (!ok) {
                err() << "orv-photos: --program-id needs a number\n";
                return 1;
            }
        } else if (option == QLatin1String("--os")) {
            const auto os = OrvPlatformIndependent::parseOperatingSystem(value);
            if (!os) {
                err() << "orv-photos: unknown system " << value << " (use e.g. macos:14.0)\n";
                return 1;
            }
            OrvSingleton<OrvPlatformIndependent>::instance()->setOperatingSystemVersion(*os);
        } else if (option == QLatin1String("--language")) {
            if (value != QLatin1String("de") && value != QLatin1String("en")) {
                err() << "orv-photos: --language takes de or en\n";
                return 1;
            }
            language = value;
        } else if (option == QLatin1String("--photos-library")) {
            photosLibrary = value;
        } else if (option == QLatin1String("--devices")) {
            // The simulated devices of this file take the place of the connected ones.
            QList<OrvImageCaptureSim::DeviceSpec> devices;
            QString error;
            if (!OrvImageCaptureSim::readDescription(value, &devices, &error)) {
                err() << "orv-photos: " << error << "\n";
                return 1;
            }
            qputenv("ORV_IMAGECAPTURE_DEVICES", QFileInfo(value).absoluteFilePath().toLocal8Bit());
            simulatedDevices = true;
        } else if (option == QLatin1String("--camera")) {
            const qsizetype equals = value.indexOf(QLatin1Char('='));
            if (equals <= 0 || equals + 1 >= value.size()) {
                err() << "orv-photos: --camera takes MODEL=PORT, e.g. \"Directory Browse=disk:/path\"\n";
                return 1;
            }
            cameras.append({value.left(equals), value.mid(equals + 1)});
        } else if (option == QLatin1String("--foto-list")) {
            OrvSingleton<OrvFotoSettings>::instance()->setFotoListExportPath(value);
        } else {
            err() << "orv-photos: unknown option " << option << "\n";
            printUsage();
            return 1;
        }
    }
    if (arguments.isEmpty()) {
        printUsage();
        return 1;
    }
    const QString commandName = arguments.takeFirst();
    const QList<OrvCommand> commands = orvCommands();
    const auto command = std::find_if(commands.cbegin(), commands.cend(),
                                      [&](const OrvCommand& c) { return commandName == QLatin1String(c.name); });
    if (command == commands.cend()) {
        err() << "orv-photos: unknown command " << commandName << "\n";
        printUsage();
        return 1;
    }

    if (verbose && qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QString());
    OrvSingleton<OrvProgramConfig>::instance()->setProgramID(programId);
    // PhotoKit: a library package, a simulated library, or the user's own library (--photos-library).
    QString photosLibraryMessage;
    const bool photosLibraryChosen = OrvPhotosLibraryChoice::install(photosLibrary, &photosLibraryMessage);
    if (!photosLibraryMessage.isEmpty())
        err() << "orv-photos: " << photosLibraryMessage << "\n";
    if (!photosLibraryChosen)
        return 1;
    OrvMediaLibrarySim::install();
    OrvImageIOQt::install();
    // Cameras: the simulated ones (--devices), else the connected ones through libgphoto2.
#ifndef ORV_HAVE_GPHOTO2
    if (!cameras.isEmpty() && !simulatedDevices) {
        err() << "orv-photos: --camera needs libgphoto2, which this build does not have\n";
        return 1;
    }
#endif
    if (simulatedDevices) {
        OrvImageCaptureSim::install();
    } else {
#ifdef ORV_HAVE_GPHOTO2
        OrvGPhoto2::install();
        for (const auto& [model, port] : std::as_const(cameras)) {
            if (!OrvGPhoto2::addCamera(model, port))
                err() << "orv-photos: no camera " << model << " at " << port << "\n";
        }
#endif
    }
    QLibrary plugin(pluginPath);
    const QFileInfo pluginFile(pluginPath);
    if (!pluginFile.isFile() || !plugin.load()) {
        const QString reason = pluginFile.isFile() ? plugin.errorString()
            : pluginFile.isDir()                   ? QStringLiteral("is a folder")
            : pluginFile.exists()                  ? QStringLiteral("not a regular file")
                                                   : QStringLiteral("no such file");
        err() << "orv-photos: cannot load plug-in " << pluginPath << ": " << reason << "\n";
        return 2;
    }
    // The plug-in's texts are German; it carries its English catalogue.
    QTranslator translator;
    if (language == QLatin1String("en") && translator.load(QStringLiteral(":/orv/translations/OrvApplePhotos_en.qm")))
        QCoreApplication::installTranslator(&translator);
    if (OrvSingleton<OrvInitializer>::instance()->setupAll() == 0) {
        err() << "orv-photos: " << pluginPath << " registered no initializer\n";
        return 2;
    }
    const int status = command->run(arguments);
    out().flush();
    err().flush();
    return status;
}
