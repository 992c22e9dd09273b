#include "Commands.h"

#include "OrvExternalDatabase.h"
#include "OrvFotoRegistries.h"

#include <QJsonArray>
#include <QJsonDocument>

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

QList<OrvCommand> orvCommands()
{
    return {
        {"sources", "sources [--json]                  the registered photo sources", commandSources},
        {"tree", "tree [--source SERVICE] [--json] [--wait SECONDS]\n"
                 "                                    every album and foto of one or all sources; --wait: up to\n"
                 "                                    SECONDS for devices and their catalogues", commandTree},
        {"export", "export --source SERVICE --album NAME_OR_URL --size N|full --format jpeg|png|original --out DIR\n"
                   "       [--wait SECONDS]             write an album's fotos into a folder", commandExport},
        {"autostart", "autostart [--wait SECONDS] [on|off]\n"
                      "                                    whether plugging in a camera starts this program", commandAutostart},
        {"browse", "browse [--source SERVICE [--album NAME_OR_URL [--select N]]] [--screenshot FILE [--dialog D]] [--size WxH]\n"
                   "                                    a window with the sources, an album's thumbnails and a foto's\n"
                   "                                    details; with --screenshot it saves the window as PNG and exits\n"
                   "                                    (--dialog export|progress|about: with that dialog over it)",
         commandBrowse},
        {"ls", "ls PATH                           a directory's entries with kind, permissions and date\n"
               "                                    (photokitfs: paths with --program-id 8)", commandLs},
        {"paste", "paste FILE...                     a drop of Photos assets, one property list file an item:\n"
                  "                                    the URLs it gives and the fotos they name", commandPaste},
    };
}

bool takeWaitOption(QStringList& arguments, const char* command, int* waitMs)
{
    const qsizetype at = arguments.indexOf(QStringLiteral("--wait"));
    if (at < 0)
        return true;
    bool ok = false;
    const double seconds = at + 1 < arguments.size() ? arguments.at(at + 1).toDouble(&ok) : 0.0;
    if (!ok || seconds <= 0 || seconds > 3600) {
        err() << "orv-photos " << command << ": --wait takes a number of seconds (at most 3600)\n";
        return false;
    }
    *waitMs = int(seconds * 1000);
    arguments.remove(at, 2);
    return true;
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

int commandSources(const QStringList& arguments)
{
    bool json = false;
    for (const QString& argument : arguments) {
        if (argument == QLatin1String("--json")) {
            json = true;
        } else {
            err() << "orv-photos sources: unknown argument " << argument << "\n";
            return 1;
        }
    }
    const auto sources = registeredSources();
    if (json) {
        QJsonArray list;
        for (const auto& [type, database] : sources)
            list.append(describeSource(type, database));
        printJson(QJsonObject{{QStringLiteral("sources"), list}});
        return 0;
    }
    for (const auto& [type, database] : sources) {
        out() << QString::number(type).rightJustified(5) << "  " << database->serviceId().leftJustified(18) << "  "
              << database->service().displayName().leftJustified(24) << "  "
              << (database->wantsToBeShown() ? "shown" : "hidden") << "\n";
    }
    if (sources.isEmpty())
        out() << "no photo sources registered\n";
    return 0;
}
