#pragma once

// The program's command line as one table: global options, commands, their
// options and arguments. Parsing, the help texts, the manual page and the shell
// completions all come from it, so an option added to the table is known to
// every one of them. Texts in the table are English and translated when shown
// (context "OrvCommandLine").

#include "OrvArguments.h"

#include <QCoreApplication>
#include <QHash>
#include <QStringList>

#include <functional>

// What a value is, for the shell completions.
enum class OrvValueKind { None, File, Directory, Service, Command };

struct OrvOption
{
    enum Flag {
        Repeatable = 1, // every occurrence is kept, not only the last
        Required = 2,
        Hidden = 4, // neither in the help nor in the completions
    };
    const char* name; // without "--"
    const char* value; // what the value is called in the help ("DIR"); nullptr: a switch
    const char* help; // QT_TRANSLATE_NOOP("OrvCommandLine", ...)
    OrvValueKind kind = OrvValueKind::None;
    const char* choices = nullptr; // the values allowed, separated by spaces
    unsigned flags = 0;
    const char* group = nullptr; // a global option's heading in the help
    const char* alias = nullptr; // an older name that still works
};

struct OrvCommandSpec
{
    const char* name;
    const char* summary; // one line, without a full stop
    const char* description; // a paragraph for the command's help and the manual page
    QList<OrvOption> options;
    const char* arguments = nullptr; // as the usage line shows them: "PATH", "FILE...", "[on|off]"
    int minArguments = 0;
    int maxArguments = 0; // -1: any number
    const char* argumentChoices = nullptr;
    OrvValueKind argumentKind = OrvValueKind::None;
    std::function<int(const OrvArguments&)> run;
    bool needsPlugin = true;
};

class OrvCommandLine
{
    Q_DECLARE_TR_FUNCTIONS(OrvCommandLine)
public:
    OrvCommandLine(QList<OrvOption> globalOptions, QList<OrvCommandSpec> commands);

    // Reads the words after the program's name. Global options go before or
    // after the command; "--" ends the options; "--name=value" and
    // "--name value" are the same. A mistake is kept in the result, with what
    // was read before it; --help and -h win over any mistake.
    OrvArguments parse(const QStringList& words) const;

    const QList<OrvOption>& globalOptions() const { return myGlobalOptions; }
    const QList<OrvCommandSpec>& commands() const { return myCommands; }
    const OrvCommandSpec* command(const QString& name) const;
    QStringList commandNames() const;

    // A mistake as one line, in the run's language, without the program's name.
    static QString describe(const OrvCommandLineError& error);

private:
    const OrvOption* findOption(const OrvCommandSpec* command, const QString& name) const;
    QStringList optionNames(const OrvCommandSpec* command) const;

    QList<OrvOption> myGlobalOptions;
    QList<OrvCommandSpec> myCommands;
};
