#pragma once

#include <QHash>
#include <QStringList>

// A mistake on the command line, said once it can be said in the run's language.
struct OrvCommandLineError
{
    enum Kind {
        None,
        NoCommand,
        UnknownCommand,
        UnknownOption,
        MissingValue,
        UnexpectedValue,
        BadChoice,
        MissingOption,
        MissingArgument,
        TooManyArguments,
    };
    Kind kind = None;
    QString command; // the command it belongs to, if any
    QString subject; // the option or command in question
    QString value; // the value or argument that was wrong
    QString suggestion; // what was probably meant
    QString allowed; // the values or arguments allowed
};

// What the command line said: the command, its options' values and its
// arguments, or the first mistake in it.
class OrvArguments
{
public:
    const QString& command() const { return myCommand; }
    bool isSet(const QString& option) const { return myValues.contains(option); }
    // The last value given, or an empty text.
    QString value(const QString& option) const
    {
        const QStringList given = myValues.value(option);
        return given.isEmpty() ? QString() : given.last();
    }
    QStringList values(const QString& option) const { return myValues.value(option); }
    const QStringList& arguments() const { return myArguments; }
    bool wantsHelp() const { return myHelp; }
    const OrvCommandLineError& error() const { return myError; }
    bool hasError() const { return myError.kind != OrvCommandLineError::None; }

private:
    friend class OrvCommandLine;
    QString myCommand;
    QHash<QString, QStringList> myValues;
    QStringList myArguments;
    bool myHelp = false;
    OrvCommandLineError myError;
};
