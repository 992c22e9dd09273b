#pragma once

#include <QJsonObject>
#include <QStringList>
#include <QTextStream>

#include <functional>

class OrvExternalDatabase;

// The sub-commands of orv-photos. Each takes its own arguments (after the
// command word) and returns the process exit code.
struct OrvCommand
{
    const char* name;
    const char* usage;
    std::function<int(const QStringList& arguments)> run;
};

QList<OrvCommand> orvCommands();

QTextStream& out();
QTextStream& err();

// Registered sources, in registration order, with their type codes.
QList<QPair<quint32, OrvExternalDatabase*>> registeredSources();
QJsonObject describeSource(quint32 type, OrvExternalDatabase* database);
// Prints an indented JSON document.
void printJson(const QJsonObject& object);

int commandSources(const QStringList& arguments);
int commandTree(const QStringList& arguments);
int commandExport(const QStringList& arguments);
int commandBrowse(const QStringList& arguments);
int commandLs(const QStringList& arguments);
int commandPaste(const QStringList& arguments);
int commandAutostart(const QStringList& arguments);
// Starts the sources and opens every album until nothing new arrives (bounded).
// With waitMs, sources still gathering (devices whose catalogue is on its way)
// are waited for up to that long.
void openAllAlbums(const QList<OrvExternalDatabase*>& databases, int waitMs = 0);
// Takes "--wait SECONDS" out of arguments; false (and a message) for a bad value.
bool takeWaitOption(QStringList& arguments, const char* command, int* waitMs);


