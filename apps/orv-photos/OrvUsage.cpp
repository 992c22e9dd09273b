#include "OrvUsage.h"

#include <QRegularExpression>

#ifndef ORV_VERSION
#define ORV_VERSION "0"
#endif

namespace {

const QChar keep(0x00a0);
// The plug-in's service ids, for completing --source.
const char* const services = "iphoto aperture photokit applephotos appleimagecapture";
// Labels wider than this put their text on the next line.
constexpr int widestLabel = 24;

QString translated(const char* text) { return text ? QCoreApplication::translate("OrvCommandLine", text) : QString(); }

QString label(const OrvOption& option)
{
    QString text = option.name == QLatin1String("help") ? QStringLiteral("-h, --help")
                                                        : QStringLiteral("--") + QLatin1String(option.name);
    if (option.value)
        text += QLatin1Char(' ') + QLatin1String(option.value);
    return text;
}

QList<OrvOption> shown(const QList<OrvOption>& options)
{
    QList<OrvOption> result;
    for (const OrvOption& option : options) {
        if (!(option.flags & OrvOption::Hidden))
            result.append(option);
    }
    return result;
}

// Text as roff reads it: backslashes escaped, no line taken for a request.
QString roff(const QString& text)
{
    QString escaped = text;
    escaped.replace(QLatin1Char('\\'), QLatin1String("\\e"));
    escaped.replace(QLatin1Char('-'), QLatin1String("\\-"));
    if (escaped.startsWith(QLatin1Char('.')) || escaped.startsWith(QLatin1Char('\'')))
        escaped.prepend(QLatin1String("\\&"));
    return escaped;
}

QString roffLabel(const OrvOption& option)
{
    QString text = option.name == QLatin1String("help")
        ? QStringLiteral("\\fB\\-h\\fR, \\fB\\-\\-help\\fR")
        : QStringLiteral("\\fB\\-\\-%1\\fR").arg(roff(QLatin1String(option.name)));
    if (option.value)
        text += QStringLiteral(" \\fI%1\\fR").arg(roff(QLatin1String(option.value)));
    return text;
}

// The first clause of a help text: what a completion menu has room for.
QString brief(const char* help)
{
    QString text = translated(help);
    const qsizetype cut = text.indexOf(QRegularExpression(QStringLiteral("; | \\(")));
    return cut > 0 ? text.left(cut) : text;
}

// A text inside single quotes of a shell script.
QString shellQuoted(const QString& text)
{
    QString quoted = text;
    quoted.replace(QLatin1Char('\''), QLatin1String("'\\''"));
    return QLatin1Char('\'') + quoted + QLatin1Char('\'');
}

// A description inside an _arguments or _describe spec of zsh.
QString zshText(const QString& text)
{
    QString escaped = text;
    for (const QChar special : {QLatin1Char('\\'), QLatin1Char('['), QLatin1Char(']'), QLatin1Char(':')})
        escaped.replace(special, QLatin1Char('\\') + special);
    return escaped;
}

QStringList valueOptions(const QList<OrvOption>& options)
{
    QStringList names;
    for (const OrvOption& option : options) {
        if (option.value)
            names.append(QStringLiteral("--") + QLatin1String(option.name));
        if (option.value && option.alias)
            names.append(QStringLiteral("--") + QLatin1String(option.alias));
    }
    return names;
}

QStringList optionWords(const QList<OrvOption>& options)
{
    QStringList names;
    for (const OrvOption& option : shown(options))
        names.append(QStringLiteral("--") + QLatin1String(option.name));
    return names;
}

} // namespace

OrvUsage::OrvUsage(const OrvCommandLine& commandLine) : myCommandLine(commandLine) { }

QString OrvUsage::version() { return QStringLiteral("orv-photos " ORV_VERSION); }

QString OrvUsage::wrap(const QString& text, int indent, int width, const QString& prefix)
{
    QString result;
    QString line = prefix;
    bool fresh = true;
    const QString margin(indent, QLatin1Char(' '));
    for (const QString& word : text.split(QLatin1Char(' '), Qt::SkipEmptyParts)) {
        if (!fresh && line.size() + 1 + word.size() > width) {
            result += line + QLatin1Char('\n');
            line = margin;
            fresh = true;
        }
        if (!fresh)
            line += QLatin1Char(' ');
        line += word;
        fresh = false;
    }
    result += line;
    return result.replace(keep, QLatin1Char(' '));
}

QString OrvUsage::synopsis(const QString& name) const
{
    const OrvCommandSpec* spec = myCommandLine.command(name);
    if (!spec)
        return QStringLiteral("orv-photos [OPTION...] COMMAND [ARGUMENT...]");
    QStringList parts{QStringLiteral("orv-photos"), QLatin1String(spec->name)};
    for (const OrvOption& option : shown(spec->options)) {
        QString part = QStringLiteral("--") + QLatin1String(option.name);
        if (option.value)
            part += keep + QLatin1String(option.value);
        parts.append(option.flags & OrvOption::Required ? part : QLatin1Char('[') + part + QLatin1Char(']'));
    }
    if (spec->arguments)
        parts.append(QLatin1String(spec->arguments));
    return parts.join(QLatin1Char(' '));
}

QString OrvUsage::optionLines(const QList<OrvOption>& options, bool withHelp, const QList<OrvOption>& aligned) const
{
    QList<OrvOption> listed = shown(options);
    if (withHelp)
        listed.append({"help", nullptr, QT_TRANSLATE_NOOP("OrvCommandLine", "this help")});
    int column = 0;
    for (const OrvOption& option : aligned.isEmpty() ? listed : aligned) {
        if (label(option).size() <= widestLabel)
            column = std::max(column, int(label(option).size()));
    }
    column += 4;
    QString text;
    for (const OrvOption& option : std::as_const(listed)) {
        QString line = QStringLiteral("  ") + label(option);
        if (line.size() + 2 > column) {
            text += line + QLatin1Char('\n');
            line.clear();
        }
        text += wrap(translated(option.help), column, 79, line.leftJustified(column)) + QLatin1Char('\n');
    }
    return text;
}

QString OrvUsage::about() const
{
    return tr("Photos from Apple's photo software (Photos, iPhoto, Aperture) and from cameras, through the plug-in "
              "libOrvApplePhotos.");
}

QString OrvUsage::exitStatus() const
{
    return tr("Exit status: 0 done; 1 a mistake in what was asked (an option, a source, an album, a camera); 2 the "
              "plug-in could not be loaded, or some of the work could not be done.");
}

QString OrvUsage::help(const QString& name) const
{
    const OrvCommandSpec* spec = myCommandLine.command(name);
    const QString usage = tr("usage:") + QLatin1Char(' ');
    QString text = wrap(synopsis(name), int(usage.size()) + 4, 79, usage) + QStringLiteral("\n\n");
    if (spec) {
        text += wrap(translated(spec->description), 0) + QStringLiteral("\n\n");
        text += tr("Options:") + QLatin1Char('\n') + optionLines(spec->options, true) + QLatin1Char('\n');
        text += wrap(tr("The global options (orv-photos --help) go before or after the command."), 0)
            + QLatin1Char('\n');
        return text;
    }
    text += wrap(about(), 0) + QStringLiteral("\n\n") + tr("Commands:") + QLatin1Char('\n');
    int column = 0;
    for (const OrvCommandSpec& command : myCommandLine.commands())
        column = std::max(column, int(qstrlen(command.name)));
    for (const OrvCommandSpec& command : myCommandLine.commands()) {
        text += wrap(translated(command.summary), column + 4, 79,
                     QStringLiteral("  ") + QString::fromLatin1(command.name).leftJustified(column + 2))
            + QLatin1Char('\n');
    }
    // The global options under their headings, in the order the headings first come.
    QList<const char*> groups;
    for (const OrvOption& option : myCommandLine.globalOptions()) {
        if (option.group && !groups.contains(option.group))
            groups.append(option.group);
    }
    for (const char* group : std::as_const(groups)) {
        QList<OrvOption> options;
        for (const OrvOption& option : myCommandLine.globalOptions()) {
            if (option.group == group)
                options.append(option);
        }
        text += QLatin1Char('\n') + translated(group) + QStringLiteral(":\n")
            + optionLines(options, false, myCommandLine.globalOptions());
    }
    text += QLatin1Char('\n')
        + wrap(tr("Options go before or after the command; orv-photos COMMAND --help shows a command's own."), 0)
        + QStringLiteral("\n\n") + wrap(exitStatus(), 0) + QLatin1Char('\n');
    return text;
}

QString OrvUsage::manPage() const
{
    // Option names are not to be hyphenated at a line's end.
    QString page = QStringLiteral(".TH ORV\\-PHOTOS 1 \"\" \"%1\" \"%2\"\n.nh\n")
                       .arg(roff(version()), roff(tr("User Commands")));
    page += QStringLiteral(".SH %1\norv\\-photos \\- %2\n")
                .arg(tr("NAME"), roff(tr("photos from Apple's photo software and from cameras")));
    page += QStringLiteral(".SH %1\n.B orv\\-photos\n[\\fIOPTION\\fR...] \\fICOMMAND\\fR [\\fIARGUMENT\\fR...]\n")
                .arg(tr("SYNOPSIS"));
    page += QStringLiteral(".SH %1\n%2\n")
                .arg(tr("DESCRIPTION"), roff(about() + QLatin1Char(' ') + tr("Options go before or after the command.")));
    page += QStringLiteral(".SH %1\n").arg(tr("COMMANDS"));
    for (const OrvCommandSpec& command : myCommandLine.commands()) {
        page += QStringLiteral(".TP\n\\fB%1\\fR").arg(roff(QLatin1String(command.name)));
        for (const OrvOption& option : shown(command.options)) {
            const QString part = roffLabel(option);
            page += QLatin1Char(' ')
                + (option.flags & OrvOption::Required ? part : QLatin1Char('[') + part + QLatin1Char(']'));
        }
        if (command.arguments)
            page += QStringLiteral(" \\fI%1\\fR").arg(roff(QLatin1String(command.arguments)));
        page += QLatin1Char('\n') + roff(translated(command.description)) + QLatin1Char('\n');
        if (!shown(command.options).isEmpty()) {
            page += QStringLiteral(".RS\n");
            for (const OrvOption& option : shown(command.options))
                page += QStringLiteral(".TP\n%1\n%2\n").arg(roffLabel(option), roff(translated(option.help)));
            page += QStringLiteral(".RE\n");
        }
    }
    page += QStringLiteral(".SH %1\n").arg(tr("OPTIONS"));
    QString group;
    for (const OrvOption& option : shown(myCommandLine.globalOptions())) {
        if (option.group && group != QLatin1String(option.group)) {
            group = QLatin1String(option.group);
            page += QStringLiteral(".SS %1\n").arg(roff(translated(option.group)));
        }
        page += QStringLiteral(".TP\n%1\n%2\n").arg(roffLabel(option), roff(translated(option.help)));
    }
    page += QStringLiteral(".SH %1\n%2\n").arg(tr("EXIT STATUS"), roff(exitStatus()));
    page += QStringLiteral(".SH %1\n.TP\n.B ORV_PLUGIN_PATH\n%2\n.TP\n.B XDG_CONFIG_HOME\n%3\n")
                .arg(tr("ENVIRONMENT"), roff(tr("the plug-in library, where --plugin names none")),
                     roff(tr("the folder of the iPhoto and Aperture preferences (default ~/.config)")));
    page
        += QStringLiteral(
               ".SH %1\n.TP\n.I $XDG_CONFIG_HOME/apple/iphoto.conf\n.TQ\n.I $XDG_CONFIG_HOME/apple/aperture.conf\n%2\n")
               .arg(tr("FILES"),
                    roff(tr("the preferences of iPhoto and Aperture: XMLDataFilePath names the library file, "
                            "RootDirectory the library folder")));
    page += QStringLiteral(".SH %1\n.BR gphoto2 (1)\n").arg(tr("SEE ALSO"));
    return page;
}

QString OrvUsage::completionWords(OrvValueKind kind, const char* choices) const
{
    if (choices)
        return QString::fromLatin1(choices);
    switch (kind) {
    case OrvValueKind::Service:
        return QString::fromLatin1(services);
    case OrvValueKind::Command:
        return myCommandLine.commandNames().join(QLatin1Char(' '));
    default:
        return QString();
    }
}

QString OrvUsage::bashCompletion() const
{
    // How a value of each kind completes.
    const auto complete = [this](OrvValueKind kind, const char* choices) {
        const QString words = completionWords(kind, choices);
        if (!words.isEmpty())
            return QStringLiteral("COMPREPLY=($(compgen -W %1 -- \"$cur\"))").arg(shellQuoted(words));
        if (kind == OrvValueKind::File)
            return QStringLiteral("compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -f -- \"$cur\"))");
        if (kind == OrvValueKind::Directory)
            return QStringLiteral("compopt -o filenames 2>/dev/null; COMPREPLY=($(compgen -d -- \"$cur\"))");
        return QStringLiteral("COMPREPLY=()");
    };
    const auto valueCases = [&complete](const QList<OrvOption>& options, const QString& indent) {
        QString text;
        for (const OrvOption& option : options) {
            if (!option.value)
                continue;
            QString names = QStringLiteral("--") + QLatin1String(option.name);
            if (option.alias)
                names += QStringLiteral("|--") + QLatin1String(option.alias);
            text += indent + QStringLiteral("%1) %2; return ;;\n").arg(names, complete(option.kind, option.choices));
        }
        return text;
    };
    QString script
        = QStringLiteral("# bash completion for orv-photos (made by orv-photos --completion bash)\n"
                         "_orv_photos()\n"
                         "{\n"
                         "    local cur=${COMP_WORDS[COMP_CWORD]} prev=${COMP_WORDS[COMP_CWORD-1]} command= i\n"
                         "    # --name=value: bash splits at the \"=\"\n"
                         "    if [[ $cur == = ]]; then cur=; fi\n"
                         "    if [[ $prev == = ]]; then prev=${COMP_WORDS[COMP_CWORD-2]}; fi\n"
                         "    for ((i = 1; i < COMP_CWORD; i++)); do\n"
                         "        case ${COMP_WORDS[i]} in\n");
    script += QStringLiteral("            %1)\n                [[ ${COMP_WORDS[i+1]} == = ]] && ((i++))\n              "
                             "  ((i++)) ;;\n")
                  .arg(valueOptions(myCommandLine.globalOptions()).join(QLatin1Char('|')));
    script += QStringLiteral(
        "            -*) ;;\n            *) command=${COMP_WORDS[i]}; break ;;\n        esac\n    done\n"
        "    case $prev in\n");
    script += valueCases(myCommandLine.globalOptions(), QStringLiteral("        "));
    script += QStringLiteral("    esac\n    case $command in\n        '')\n            if [[ $cur == -* ]]; then\n"
                             "                COMPREPLY=($(compgen -W %1 -- \"$cur\"))\n            else\n"
                             "                COMPREPLY=($(compgen -W %2 -- \"$cur\"))\n            fi ;;\n")
                  .arg(shellQuoted(optionWords(myCommandLine.globalOptions()).join(QLatin1Char(' '))
                                   + QStringLiteral(" -h")),
                       shellQuoted(myCommandLine.commandNames().join(QLatin1Char(' '))));
    for (const OrvCommandSpec& command : myCommandLine.commands()) {
        script += QStringLiteral("        %1)\n            case $prev in\n").arg(QLatin1String(command.name));
        script += valueCases(command.options, QStringLiteral("                "));
        script
            += QStringLiteral("            esac\n            if [[ $cur == -* ]]; then\n"
                              "                COMPREPLY=($(compgen -W %1 -- \"$cur\"))\n            else\n"
                              "                %2\n            fi ;;\n")
                   .arg(shellQuoted((optionWords(command.options) << QStringLiteral("--help")).join(QLatin1Char(' '))),
                        command.maxArguments == 0 ? QStringLiteral("COMPREPLY=()")
                                                  : complete(command.argumentKind, command.argumentChoices));
    }
    script += QStringLiteral("    esac\n}\ncomplete -F _orv_photos orv-photos\n");
    return script;
}

QString OrvUsage::zshCompletion() const
{
    const auto spec = [this](const OrvOption& option) {
        QString text = (option.flags & OrvOption::Repeatable ? QStringLiteral("*--") : QStringLiteral("--"))
            + QLatin1String(option.name);
        if (option.value)
            text += QLatin1Char('=');
        text += QLatin1Char('[') + zshText(brief(option.help)) + QLatin1Char(']');
        if (option.value) {
            const QString words = completionWords(option.kind, option.choices);
            text += QLatin1Char(':') + zshText(QString::fromLatin1(option.value).toLower()) + QLatin1Char(':');
            if (!words.isEmpty())
                text += QLatin1Char('(') + words + QLatin1Char(')');
            else if (option.kind == OrvValueKind::File)
                text += QStringLiteral("_files");
            else if (option.kind == OrvValueKind::Directory)
                text += QStringLiteral("_files -/");
            else
                text += QLatin1Char(' ');
        }
        return shellQuoted(text);
    };
    QString script
        = QStringLiteral("#compdef orv-photos\n# zsh completion for orv-photos (made by orv-photos --completion zsh)\n"
                         "_orv_photos()\n{\n    local curcontext=$curcontext state line\n    local -a globals "
                         "commands\n    typeset -A opt_args\n"
                         "    globals=(\n        '(- *)'{-h,--help}'[%1]'\n")
              .arg(zshText(tr("show the help")));
    for (const OrvOption& option : shown(myCommandLine.globalOptions())) {
        if (option.name != QLatin1String("help"))
            script += QStringLiteral("        ") + spec(option) + QLatin1Char('\n');
    }
    script += QStringLiteral("    )\n    commands=(\n");
    for (const OrvCommandSpec& command : myCommandLine.commands())
        script += QStringLiteral("        ")
            + shellQuoted(QLatin1String(command.name) + QLatin1Char(':') + zshText(translated(command.summary)))
            + QLatin1Char('\n');
    script
        += QStringLiteral("    )\n    _arguments -C $globals '1:command:->command' '*::argument:->argument' && return\n"
                          "    case $state in\n        command) _describe -t commands command commands ;;\n"
                          "        argument)\n            case $words[1] in\n");
    for (const OrvCommandSpec& command : myCommandLine.commands()) {
        script += QStringLiteral("                %1) _arguments $globals").arg(QLatin1String(command.name));
        for (const OrvOption& option : shown(command.options))
            script += QLatin1Char(' ') + spec(option);
        if (command.maxArguments != 0) {
            const QString words = completionWords(command.argumentKind, command.argumentChoices);
            const QString action = !words.isEmpty()               ? QLatin1Char('(') + words + QLatin1Char(')')
                : command.argumentKind == OrvValueKind::Directory ? QStringLiteral("_files -/")
                : command.argumentKind == OrvValueKind::File      ? QStringLiteral("_files")
                                                                  : QStringLiteral(" ");
            const QString what = zshText(QString::fromLatin1(command.arguments)
                                             .remove(QRegularExpression(QStringLiteral("[\\[\\].]")))
                                             .toLower());
            script += QLatin1Char(' ')
                + shellQuoted((command.maxArguments < 0 ? QStringLiteral("*:") : QStringLiteral(":")) + what
                              + QLatin1Char(':') + action);
        }
        script += QStringLiteral(" ;;\n");
    }
    script += QStringLiteral("            esac ;;\n    esac\n}\n_orv_photos \"$@\"\n");
    return script;
}
