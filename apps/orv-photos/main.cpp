#include "Commands.h"

#include "OrvBrowserTranslator.h"
#include "OrvDidYouMean.h"
#include "OrvExternalDatabase.h"
#include "OrvFotoRegistries.h"
#include "OrvInitializer.h"
#include "OrvLanguage.h"
#include "OrvLibraryFolders.h"
#include "OrvLibraryLocations.h"
#include "OrvPlatformBackends.h"
#include "OrvPlatformIndependent.h"
#include "OrvProgramConfig.h"
#include "OrvUsage.h"
#include "sim/OrvImageCaptureSim.h"
#ifdef ORV_HAVE_GPHOTO2
#include "gphoto2/OrvGPhoto2Backend.h"
#endif

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QLibrary>
#include <QLoggingCategory>
#include <QMutex>
#include <QSet>

#include <cstdio>

namespace {

// This program resolves Photos asset paths as files, as the desktop application does.
constexpr int defaultProgramId = 8;

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
    return QDir(QCoreApplication::applicationDirPath())
        .absoluteFilePath(QStringLiteral("../lib/" ORV_PLUGIN_FILE_NAME));
}

// A mistake in what was asked: one line. Always false, for the caller to return.
bool mistake(const QString& text)
{
    out().flush();
    err() << "orv-photos: " << text << "\n";
    err().flush();
    return false;
}

// The global options that set up the host and the libraries; false after saying what is wrong.
bool applyHostOptions(const OrvArguments& arguments)
{
    OrvPlatformIndependent* platform = OrvSingleton<OrvPlatformIndependent>::instance();
    if (arguments.isSet(QStringLiteral("images-only")))
        platform->setImagesOnly(true);
    int programId = defaultProgramId;
    if (arguments.isSet(QStringLiteral("program-id"))) {
        bool ok = false;
        programId = arguments.value(QStringLiteral("program-id")).toInt(&ok);
        if (!ok)
            return mistake(OrvCommandLine::tr("--program-id takes a number, not %1")
                               .arg(arguments.value(QStringLiteral("program-id"))));
    }
    OrvSingleton<OrvProgramConfig>::instance()->setProgramID(programId);
    if (arguments.isSet(QStringLiteral("os"))) {
        const QString value = arguments.value(QStringLiteral("os"));
        const auto os = OrvPlatformIndependent::parseOperatingSystem(value);
        if (!os)
            return mistake(OrvCommandLine::tr("unknown system %1 (use e.g. macos:14.0)").arg(value));
        platform->setOperatingSystemVersion(*os);
    }
    if (arguments.isSet(QStringLiteral("photo-list")))
        OrvSingleton<OrvFotoSettings>::instance()->setFotoListExportPath(arguments.value(QStringLiteral("photo-list")));
    OrvLibraryLocations& libraries = OrvLibraryLocations::instance();
    QString why;
    for (const QString& service : {QStringLiteral("iphoto"), QStringLiteral("aperture")}) {
        const QString option = service + QStringLiteral("-library");
        if (arguments.isSet(option) && !libraries.setLibrary(service, arguments.value(option), &why))
            return mistake(QStringLiteral("--") + option + QStringLiteral(": ") + why);
    }
    if (!libraries.apply(&why))
        return mistake(why);
    return true;
}

#ifdef ORV_HAVE_GPHOTO2
// A camera named by hand that cannot be used is a mistake, said before anything else runs.
bool checkCamera(const QString& model, const QString& port)
{
    QString why;
    switch (OrvGPhoto2::checkCamera(model, port, &why)) {
    case OrvGPhoto2::CameraCheck::Opens:
        return true;
    case OrvGPhoto2::CameraCheck::UnknownModel: {
        const QString nearest = OrvDidYouMean::nearest(model, OrvGPhoto2::cameraModels());
        return mistake(
            nearest.isEmpty()
                ? OrvCommandLine::tr("--camera: unknown camera model %1 (gphoto2 --list-cameras lists them)").arg(model)
                : OrvCommandLine::tr("--camera: unknown camera model %1; did you mean %2?").arg(model, nearest));
    }
    case OrvGPhoto2::CameraCheck::UnknownPort:
        return mistake(
            OrvCommandLine::tr("--camera: Unknown port %1 (a port begins with usb:, disk:, serial:, ptpip: or ip:)")
                .arg(port));
    case OrvGPhoto2::CameraCheck::NoFolder:
        return mistake(
            OrvCommandLine::tr("--camera: no camera %1 at %2 (the folder must exist, hold something and not be /)")
                .arg(model, port));
    case OrvGPhoto2::CameraCheck::DoesNotOpen:
        return mistake(OrvCommandLine::tr("--camera: cannot open %1 at %2: %3").arg(model, port, why));
    }
    return false;
}
#endif

// Cameras: the simulated ones (--devices), else the connected ones and those named with
// --camera, each checked before anything runs. False after saying what is wrong.
bool chooseCameras(const OrvArguments& arguments, OrvPlatformBackends::Choice* devices)
{
    for (const QString& value : arguments.values(QStringLiteral("camera"))) {
        const qsizetype equals = value.indexOf(QLatin1Char('='));
        if (equals <= 0 || equals + 1 >= value.size())
            return mistake(OrvCommandLine::tr("--camera takes MODEL=PORT, e.g. \"Directory Browse=disk:/path\", not %1")
                               .arg(value));
        devices->cameras.append({value.left(equals), value.mid(equals + 1)});
    }
    if (arguments.isSet(QStringLiteral("devices"))) {
        if (!devices->cameras.isEmpty())
            return mistake(
                OrvCommandLine::tr("--camera names a camera for libgphoto2, and --devices puts simulated devices in "
                                   "its place: give one of them"));
        const QString file = arguments.value(QStringLiteral("devices"));
        QList<OrvImageCaptureSim::DeviceSpec> described;
        QString error;
        if (!OrvImageCaptureSim::readDescription(file, &described, &error))
            return mistake(QStringLiteral("--devices: ") + error);
        qputenv("ORV_IMAGECAPTURE_DEVICES", QFileInfo(file).absoluteFilePath().toLocal8Bit());
        devices->simulatedDevices = true;
        return true;
    }
#ifdef ORV_HAVE_GPHOTO2
    for (const auto& [model, port] : std::as_const(devices->cameras)) {
        if (!checkCamera(model, port))
            return false;
    }
#else
    if (!devices->cameras.isEmpty())
        return mistake(OrvCommandLine::tr("--camera needs libgphoto2, which this build does not have"));
#endif
    return true;
}

} // namespace

int main(int argc, char** argv)
{
    // Whatever way the run ends, what it printed is out before the process is.
    struct Flush
    {
        ~Flush()
        {
            out().flush();
            err().flush();
        }
    } flush;
    // Qt would take options such as --plugin for itself: parse our own copy.
    QStringList words;
    for (int i = 1; i < argc; ++i)
        words.append(QString::fromLocal8Bit(argv[i]));
    const OrvCommandLine& commandLine = orvCommandLine();
    const OrvArguments arguments = commandLine.parse(words);

    // A command-line tool: no window system needed unless the caller asks for
    // one, or for the browser on a desktop (its screenshots need none either).
    const bool onScreen = arguments.command() == QLatin1String("browse") && !arguments.wantsHelp()
        && !arguments.hasError() && !arguments.isSet(QStringLiteral("screenshot"))
        && (!qEnvironmentVariableIsEmpty("DISPLAY") || !qEnvironmentVariableIsEmpty("WAYLAND_DISPLAY"));
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM") && !onScreen)
        qputenv("QT_QPA_PLATFORM", "offscreen");
    if (qEnvironmentVariableIsEmpty("XDG_RUNTIME_DIR")) {
        const QString runtime = QDir::tempPath() + QStringLiteral("/orv-photos-runtime-")
            + qEnvironmentVariable("USER", QStringLiteral("user"));
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
        QLoggingCategory::setFilterRules(arguments.isSet(QStringLiteral("verbose"))
                                             ? QString()
                                             : QStringLiteral("*.debug=false\norv.files.debug=true"));
    previousHandler = qInstallMessageHandler(showRefusedFiles);

    // One language for everything the run shows, mistakes in the command line included.
    const QString asked = arguments.value(QStringLiteral("language"));
    OrvLanguage language(asked == QLatin1String("de") || asked == QLatin1String("en") ? asked
                                                                                      : OrvLanguage::systemLanguage());

    const OrvUsage usage(commandLine);
    if (arguments.wantsHelp()) {
        out() << usage.help(commandLine.command(arguments.command()) ? arguments.command() : QString());
        return 0;
    }
    // These stand alone: no command is missing.
    if (!arguments.hasError() || arguments.error().kind == OrvCommandLineError::NoCommand) {
        if (arguments.isSet(QStringLiteral("version"))) {
            out() << OrvUsage::version() << "\n";
            return 0;
        }
        if (arguments.isSet(QStringLiteral("man"))) {
            out() << usage.manPage();
            return 0;
        }
        if (arguments.isSet(QStringLiteral("completion"))) {
            out() << (arguments.value(QStringLiteral("completion")) == QLatin1String("zsh") ? usage.zshCompletion()
                                                                                            : usage.bashCompletion());
            return 0;
        }
    }
    if (arguments.hasError()) {
        const OrvCommandLineError& error = arguments.error();
        err() << "orv-photos" << (error.command.isEmpty() ? QString() : QLatin1Char(' ') + error.command) << ": "
              << OrvCommandLine::describe(error) << "\n";
        return 1;
    }
    const OrvCommandSpec* command = commandLine.command(arguments.command());
    if (!command->needsPlugin)
        return command->run(arguments);

    if (!applyHostOptions(arguments))
        return 1;
    OrvPlatformBackends::Choice backends;
    backends.photosLibrary = arguments.value(QStringLiteral("photos-library"));
    if (!chooseCameras(arguments, &backends))
        return 1;
    // Cameras named by hand are the ones a command works on (no looking through
    // the USB bus); the browser still shows any that is plugged in.
    const bool browsing = arguments.command() == QLatin1String("browse");
    backends.detectCameras = backends.cameras.isEmpty() || browsing;
    // An export of whole files shows no thumbnail: a camera reads none.
    backends.cameraThumbnails = !(arguments.command() == QLatin1String("export")
                                  && arguments.value(QStringLiteral("size")) == QLatin1String("full"));
    // The simulations and libraries the options name, the system's own frameworks otherwise.
    if (!OrvPlatformBackends::install(backends))
        return 1;
    const QString pluginPath
        = arguments.isSet(QStringLiteral("plugin")) ? arguments.value(QStringLiteral("plugin")) : defaultPluginPath();
    QLibrary plugin(pluginPath);
    const QFileInfo pluginFile(pluginPath);
    if (!pluginFile.isFile() || !plugin.load()) {
        const QString reason = pluginFile.isFile() ? plugin.errorString()
            : pluginFile.isDir()                   ? OrvCommandLine::tr("is a folder")
            : pluginFile.exists()                  ? OrvCommandLine::tr("not a regular file")
                                                   : OrvCommandLine::tr("no such file");
        err() << "orv-photos: " << OrvCommandLine::tr("cannot load plug-in %1: %2").arg(pluginPath, reason) << "\n";
        return 2;
    }
    // The plug-in brings its own catalogues.
    OrvBrowserTranslator::registerCatalogues();
    language.installCatalogues();
    if (OrvSingleton<OrvInitializer>::instance()->setupAll() == 0) {
        err() << "orv-photos: " << OrvCommandLine::tr("%1 registered no initializer").arg(pluginPath) << "\n";
        return 2;
    }
    // The library sources list their albums flat; the program shows them in their library's folders.
    for (const auto& source : registeredSources()) {
        const QString service = source.second->serviceId();
        if (!OrvLibraryLocations::libraryFile(service).isEmpty())
            OrvLibraryFolders::arrange(source.second, [service] { return OrvLibraryLocations::libraryFile(service); });
    }
    return command->run(arguments);
}
