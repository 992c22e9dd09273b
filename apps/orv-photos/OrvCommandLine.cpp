#include "OrvCommandLine.h"

#include "OrvDidYouMean.h"

namespace {

QStringList choicesOf(const char* choices)
{
    return choices ? QString::fromLatin1(choices).split(QLatin1Char(' '), Qt::SkipEmptyParts) : QStringList();
}

QString dashed(const QString& name) { return QStringLiteral("--") + name; }

// "jpeg, png or original"
QString listed(const QStringList& words)
{
    if (words.size() <= 1)
        return words.join(QString());
    return OrvCommandLine::tr("%1 or %2").arg(words.mid(0, words.size() - 1).join(QStringLiteral(", ")), words.last());
}

} // namespace

OrvCommandLine::OrvCommandLine(QList<OrvOption> globalOptions, QList<OrvCommandSpec> commands)
    : myGlobalOptions(std::move(globalOptions)), myCommands(std::move(commands))
{ }

const OrvCommandSpec* OrvCommandLine::command(const QString& name) const
{
    for (const OrvCommandSpec& spec : myCommands) {
        if (name == QLatin1String(spec.name))
            return &spec;
    }
    return nullptr;
}

QStringList OrvCommandLine::commandNames() const
{
    QStringList names;
    for (const OrvCommandSpec& spec : myCommands)
        names.append(QLatin1String(spec.name));
    return names;
}

const OrvOption* OrvCommandLine::findOption(const OrvCommandSpec* command, const QString& name) const
{
    const auto find = [&name](const QList<OrvOption>& options) -> const OrvOption* {
        for (const OrvOption& option : options) {
            if (name == QLatin1String(option.name) || (option.alias && name == QLatin1String(option.alias)))
                return &option;
        }
        return nullptr;
    };
    // A command's own option comes before a global one of the same name.
    if (command) {
        if (const OrvOption* option = find(command->options))
            return option;
    }
    return find(myGlobalOptions);
}

QStringList OrvCommandLine::optionNames(const OrvCommandSpec* command) const
{
    QStringList names;
    if (command) {
        for (const OrvOption& option : command->options)
            names.append(dashed(QLatin1String(option.name)));
    }
    for (const OrvOption& option : myGlobalOptions) {
        if (!(option.flags & OrvOption::Hidden))
            names.append(dashed(QLatin1String(option.name)));
    }
    return names;
}

OrvArguments OrvCommandLine::parse(const QStringList& words) const
{
    OrvArguments result;
    const OrvCommandSpec* spec = nullptr;
    // The first mistake is kept; the words after it are still looked at for --help.
    const auto fail = [&result, &spec](OrvCommandLineError::Kind kind, const QString& subject,
                                       const QString& suggestion = QString(), const QString& allowed = QString(),
                                       const QString& value = QString()) {
        if (result.hasError())
            return;
        result.myError
            = {kind, spec ? QString::fromLatin1(spec->name) : QString(), subject, value, suggestion, allowed};
    };
    bool optionsEnded = false;
    for (qsizetype i = 0; i < words.size(); ++i) {
        const QString& word = words.at(i);
        if (!optionsEnded && word == QLatin1String("--")) {
            optionsEnded = true;
            continue;
        }
        if (!optionsEnded && (word == QLatin1String("-h") || word == QLatin1String("--help"))) {
            result.myHelp = true;
            continue;
        }
        if (!optionsEnded && word.startsWith(QLatin1String("--"))) {
            const qsizetype equals = word.indexOf(QLatin1Char('='));
            const QString name = word.mid(2, equals < 0 ? -1 : equals - 2);
            const OrvOption* option = findOption(spec, name);
            if (!option) {
                fail(OrvCommandLineError::UnknownOption, dashed(name),
                     OrvDidYouMean::nearest(dashed(name), optionNames(spec)));
                // A value given with "=" goes with the unknown option; one given apart is read as an argument.
                continue;
            }
            const QString key = QLatin1String(option->name);
            QString value;
            if (!option->value) {
                if (equals >= 0)
                    fail(OrvCommandLineError::UnexpectedValue, dashed(key));
            } else if (equals >= 0) {
                value = word.mid(equals + 1);
            } else if (i + 1 < words.size()) {
                value = words.at(++i);
            } else {
                fail(OrvCommandLineError::MissingValue, dashed(key), QString(), QLatin1String(option->value));
                continue;
            }
            const QStringList choices = choicesOf(option->choices);
            if (!choices.isEmpty() && !choices.contains(value)) {
                fail(OrvCommandLineError::BadChoice, dashed(key), OrvDidYouMean::nearest(value, choices),
                     listed(choices), value);
            }
            QStringList& given = result.myValues[key];
            if (option->flags & OrvOption::Repeatable)
                given.append(value);
            else
                given = QStringList{value};
            continue;
        }
        if (!optionsEnded && word.size() > 1 && word.startsWith(QLatin1Char('-'))) {
            // "-json" for "--json": no option has a single dash but -h.
            fail(OrvCommandLineError::UnknownOption, word,
                 OrvDidYouMean::nearest(QLatin1Char('-') + word, optionNames(spec)));
            continue;
        }
        if (!spec && result.myCommand.isEmpty()) {
            spec = command(word);
            result.myCommand = word;
            if (!spec)
                fail(OrvCommandLineError::UnknownCommand, word, OrvDidYouMean::nearest(word, commandNames()));
            continue;
        }
        result.myArguments.append(word);
    }
    if (result.myHelp || result.hasError())
        return result;
    if (!spec) {
        fail(OrvCommandLineError::NoCommand, QString(), QString(), commandNames().join(QStringLiteral(", ")));
        return result;
    }
    for (const OrvOption& option : spec->options) {
        if ((option.flags & OrvOption::Required) && !result.isSet(QLatin1String(option.name))) {
            fail(OrvCommandLineError::MissingOption, dashed(QLatin1String(option.name)), QString(),
                 QLatin1String(option.value));
            return result;
        }
    }
    const QString shown = spec->arguments ? QString::fromLatin1(spec->arguments) : QString();
    if (result.myArguments.size() < spec->minArguments) {
        fail(OrvCommandLineError::MissingArgument, shown);
    } else if (spec->maxArguments >= 0 && result.myArguments.size() > spec->maxArguments) {
        fail(OrvCommandLineError::TooManyArguments, QString(), QString(), shown,
             result.myArguments.at(spec->maxArguments));
    } else if (spec->argumentChoices) {
        const QStringList choices = choicesOf(spec->argumentChoices);
        for (const QString& argument : std::as_const(result.myArguments)) {
            if (!choices.contains(argument)) {
                fail(OrvCommandLineError::BadChoice, QLatin1String(spec->name),
                     OrvDidYouMean::nearest(argument, choices), listed(choices), argument);
                break;
            }
        }
    }
    return result;
}

QString OrvCommandLine::describe(const OrvCommandLineError& error)
{
    QString text;
    switch (error.kind) {
    case OrvCommandLineError::None:
        return QString();
    case OrvCommandLineError::NoCommand:
        text = tr("no command given (one of %1; --help says more)").arg(error.allowed);
        break;
    case OrvCommandLineError::UnknownCommand:
        text = tr("unknown command %1").arg(error.subject);
        break;
    case OrvCommandLineError::UnknownOption:
        text = tr("unknown option %1").arg(error.subject);
        break;
    case OrvCommandLineError::MissingValue:
        text = tr("%1 needs a value (%1 %2)").arg(error.subject, error.allowed);
        break;
    case OrvCommandLineError::UnexpectedValue:
        text = tr("%1 takes no value").arg(error.subject);
        break;
    case OrvCommandLineError::BadChoice:
        text = tr("%1 takes %2, not %3").arg(error.subject, error.allowed, error.value);
        break;
    case OrvCommandLineError::MissingOption:
        text = tr("%1 %2 is missing").arg(error.subject, error.allowed);
        break;
    case OrvCommandLineError::MissingArgument:
        text = tr("%1 is missing").arg(error.subject);
        break;
    case OrvCommandLineError::TooManyArguments:
        text = error.allowed.isEmpty() ? tr("unexpected argument %1").arg(error.value)
                                       : tr("unexpected argument %1 (arguments: %2)").arg(error.value, error.allowed);
        break;
    }
    if (!error.suggestion.isEmpty())
        text += tr("; did you mean %1?").arg(error.suggestion);
    return text;
}
