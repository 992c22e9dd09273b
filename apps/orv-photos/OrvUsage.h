#pragma once

#include "OrvCommandLine.h"

#include <QCoreApplication>
#include <QString>

// What the command-line table says to people and shells: the program's and
// each command's help, the manual page, and completion scripts for bash and zsh.
class OrvUsage
{
    Q_DECLARE_TR_FUNCTIONS(OrvUsage)
public:
    explicit OrvUsage(const OrvCommandLine& commandLine);

    // The help of the program (an empty name) or of one command, in the run's language.
    QString help(const QString& command = QString()) const;
    // "orv-photos 0.1"
    static QString version();
    // The manual page, as roff; in the run's language.
    QString manPage() const;
    QString bashCompletion() const;
    QString zshCompletion() const;

    // Words wrapped into lines of at most width columns: the first begins with
    // prefix, the others with indent spaces.
    static QString wrap(const QString& text, int indent, int width = 79, const QString& prefix = QString());

private:
    // The usage line of a command, or of the program for an empty name; a
    // space that must not break a line is U+00A0.
    QString synopsis(const QString& command) const;
    // Two columns: labels, and their texts, which start where the widest label
    // of aligned (default: of options) leaves room.
    QString optionLines(const QList<OrvOption>& options, bool withHelp, const QList<OrvOption>& aligned = {}) const;
    QString about() const;
    QString exitStatus() const;
    QString completionWords(OrvValueKind kind, const char* choices) const;

    const OrvCommandLine& myCommandLine;
};
