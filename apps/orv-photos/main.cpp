#include "Commands.h"

#include "OrvFotoRegistries.h"
#include "OrvInitializer.h"
#include "OrvPlatformIndependent.h"
#include "OrvProgramConfig.h"
#include "sim/OrvPhotoKitSimLibrary.h"

#include <QApplication>
#include <QDir>
#include <QFile>
#include <QFileInfo>
#include <QJsonDocument>
#include <QLibrary>
#include <QLocale>
#include <QLoggingCategory>
#include <QTranslator>

namespace {

// This program resolves Photos asset paths as files, as the desktop application does.
constexpr int defaultProgramId = 8;

void printUsage()
{
    err() << "usage: orv-photos [global options] COMMAND [arguments]\n"
             "global options:\n"
             "  --plugin PATH          the plug-in library (default: ../lib/libOrvApplePhotos.so beside the program,\n"
             "                         or $ORV_PLUGIN_PATH)\n"
             "  --program-id N         host program id the plug-in sees (default 8)\n"
             "  --os SYSTEM:VERSION    pretend to run on another system, e.g. macos:14.0 or macos:10.14.6\n"
             "  --verbose              show the sources' debug lines\n"
             "  --foto-list PATH       foto list file exported by another program\n"
             "  --photos-library FILE  simulated Photos library description (JSON, see platform/sim/README.md);\n"
             "                         the PhotoKit source shows it (needs --os macos:10.15 or later); access is\n"
             "                         granted unless the description's \"authorization\" says otherwise\n"
             "  --language de|en       language of album names and messages (default: de for a German\n"
             "                         system locale, en otherwise)\n"
             "commands:\n";
    for (const OrvCommand& command : orvCommands())
        err() << "  " << command.usage << "\n";
    err().flush();
}

QString defaultPluginPath()
{
    const QString fromEnvironment = qEnvironmentVariable("ORV_PLUGIN_PATH");
    if (!fromEnvironment.isEmpty())
        return fromEnvironment;
    return QDir(QCoreApplication::applicationDirPath()).absoluteFilePath(QStringLiteral("../lib/libOrvApplePhotos.so"));
}

} // namespace

int main(int argc, char** argv)
{
    // A command-line tool: no window system needed unless the caller asks for one.
    if (qEnvironmentVariableIsEmpty("QT_QPA_PLATFORM"))
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

    QString pluginPath = defaultPluginPath();
    int programId = defaultProgramId;
    bool verbose = false;
    QString language = QLocale::system().language() == QLocale::German ? QStringLiteral("de") : QStringLiteral("en");
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
            // The PhotoKit backend of this build reads the library named here when first asked.
            QFile description(value);
            if (!description.open(QIODevice::ReadOnly) || !QJsonDocument::fromJson(description.readAll()).isObject()) {
                err() << "orv-photos: " << value << " is no Photos library description\n";
                return 1;
            }
            qputenv("ORV_PHOTOS_LIBRARY", QFileInfo(value).absoluteFilePath().toLocal8Bit());
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

    // The sources' debug lines are for developers; --verbose shows them.
    if (!verbose && qEnvironmentVariableIsEmpty("QT_LOGGING_RULES"))
        QLoggingCategory::setFilterRules(QStringLiteral("*.debug=false"));
    OrvSingleton<OrvProgramConfig>::instance()->setProgramID(programId);
    // The plug-in runs on the simulated frameworks here (--photos-library).
    OrvPhotoKitSim::install();
    QLibrary plugin(pluginPath);
    if (!QFileInfo(pluginPath).isFile() || !plugin.load()) {
        err() << "orv-photos: cannot load plug-in " << pluginPath << ": "
              << (QFileInfo(pluginPath).isFile() ? plugin.errorString() : QStringLiteral("no such file")) << "\n";
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
