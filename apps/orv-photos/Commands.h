#pragma once

#include "OrvCommandLine.h"

#include <QJsonObject>
#include <QStringList>
#include <QTextStream>

#include <functional>

class OrvExternalDatabase;
class OrvExternalId;

// The program's command line: its global options and its commands, each
// command's run function taking what was parsed and returning the exit code
// (0 done, 1 a mistake in what was asked, 2 the work went wrong in part).
QList<OrvOption> orvGlobalOptions();
QList<OrvCommandSpec> orvCommands();
const OrvCommandLine& orvCommandLine();

QTextStream& out();
QTextStream& err();
// "orv-photos COMMAND: " on standard error, for a line that says what went wrong.
QTextStream& fail(const char* command);

// Registered sources, in registration order, with their type codes.
QList<QPair<quint32, OrvExternalDatabase*>> registeredSources();
QJsonObject describeSource(quint32 type, OrvExternalDatabase* database);
// The source with this service id; else null, after saying so (with the nearest service id).
OrvExternalDatabase* findSource(const QString& service, const char* command);
// The album named by its id URL or by its name; else an invalid id, after saying so
// (with the nearest name, and why a library source is empty).
OrvExternalId findAlbum(OrvExternalDatabase* database, const QString& nameOrUrl, const char* command);
// Why a library source is empty, for the user: where it looked; empty when it is not.
QString whyEmpty(OrvExternalDatabase* database);
// "1 photo", "3 photos"
QString photoCount(qsizetype count);
// Prints an indented JSON document.
void printJson(const QJsonObject& object);

int commandSources(const OrvArguments& arguments);
int commandTree(const OrvArguments& arguments);
int commandExport(const OrvArguments& arguments);
int commandBrowse(const OrvArguments& arguments);
int commandCameras(const OrvArguments& arguments);
int commandLs(const OrvArguments& arguments);
int commandPaste(const OrvArguments& arguments);
int commandAutostart(const OrvArguments& arguments);
int commandHelp(const OrvArguments& arguments);
// Starts the sources and opens every album until nothing new arrives (bounded).
// With waitMs, sources still gathering (devices whose catalogue is on its way)
// are waited for up to that long.
// With enough, the wait ends as soon as it holds and no source is busy.
void openAllAlbums(const QList<OrvExternalDatabase*>& databases, int waitMs = 0,
                   const std::function<bool()>& enough = {});
// The value of --wait in milliseconds (0 without it); false, after saying so, for a bad value.
bool waitOption(const OrvArguments& arguments, const char* command, int* waitMs);
