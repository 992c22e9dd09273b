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
        {"tree", "tree [--source SERVICE] [--json]  every album and foto of one or all sources", commandTree},
        {"export", "export --source SERVICE --album NAME_OR_URL --size N|full --format jpeg|png|original --out DIR\n"
                   "                                    write an album's fotos into a folder", commandExport},
        {"browse", "browse [--source SERVICE [--album NAME_OR_URL [--select N]]] [--screenshot FILE] [--size WxH]\n"
                   "                                    a window with the sources, an album's thumbnails and a foto's\n"
                   "                                    details; with --screenshot it saves the window as PNG and exits",
         commandBrowse},

        {"ls", "ls PATH                           a directory's entries with kind, permissions and date\n"
               "                                    (photokitfs: paths with --program-id 8)", commandLs},
        {"paste", "paste FILE...                     a drop of Photos assets, one property list file an item:\n"
                  "                                    the URLs it gives and the fotos they name", commandPaste},
    };
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
