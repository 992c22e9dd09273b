#include "OrvXdgMimeApps.h"

#include "OrvTargetFolder.h"
#include "OrvUserFile.h"

#include <QDebug>
#include <QDir>
#include <QFileInfo>
#include <QStandardPaths>
#include <QStringList>

namespace OrvXdgMimeApps {

namespace {

const QString defaults = QStringLiteral("[Default Applications]");
const QString added = QStringLiteral("[Added Associations]");

QString configFolder() { return QStandardPaths::writableLocation(QStandardPaths::GenericConfigLocation); }

QStringList readLines()
{
    const QByteArray bytes =
        OrvUserFile::readAll(QDir(configFolder()).filePath(QStringLiteral("mimeapps.list")), OrvUserFile::LibraryDescription);
    return QString::fromUtf8(bytes).split(QLatin1Char('\n'));
}

// The line index of key in section, or -1; *sectionEnd is where a new key of the section would go (-1: no section).
qsizetype findKey(const QStringList& lines, const QString& section, const QString& key, qsizetype* sectionEnd)
{
    qsizetype found = -1;
    *sectionEnd = -1;
    bool inside = false;
    for (qsizetype i = 0; i < lines.size(); ++i) {
        const QString line = lines.at(i).trimmed();
        if (line.startsWith(QLatin1Char('['))) {
            inside = line == section;
            if (inside)
                *sectionEnd = i + 1;
            continue;
        }
        if (!inside)
            continue;
        if (!line.isEmpty())
            *sectionEnd = i + 1;
        if (line.section(QLatin1Char('='), 0, 0).trimmed() == key)
            found = i;
    }
    return found;
}

QStringList valuesOf(const QString& line)
{
    return line.section(QLatin1Char('='), 1).trimmed().split(QLatin1Char(';'), Qt::SkipEmptyParts);
}

void setKey(QStringList& lines, const QString& section, const QString& key, const QStringList& values)
{
    qsizetype end = -1;
    const qsizetype at = findKey(lines, section, key, &end);
    const QString line = key + QLatin1Char('=') + values.join(QLatin1Char(';')) + QLatin1Char(';');
    if (at >= 0) {
        if (values.isEmpty())
            lines.removeAt(at);
        else
            lines[at] = line;
        return;
    }
    if (values.isEmpty())
        return;
    if (end < 0) {
        while (!lines.isEmpty() && lines.last().trimmed().isEmpty())
            lines.removeLast();
        if (!lines.isEmpty())
            lines.append(QString());
        lines.append(section);
        lines.append(line);
        lines.append(QString());
        return;
    }
    lines.insert(end, line);
}

} // namespace

QString defaultApplication(const QString& mimeType)
{
    const QStringList lines = readLines();
    qsizetype end = -1;
    const qsizetype at = findKey(lines, defaults, mimeType, &end);
    const QString id = at < 0 ? QString() : valuesOf(lines.at(at)).value(0);
    if (id.isEmpty())
        return {};
    const QString path = QStandardPaths::locate(QStandardPaths::ApplicationsLocation, id);
    return path.isEmpty() ? id : path;
}

bool setDefaultApplication(const QString& mimeType, const QString& desktopFile)
{
    QStringList lines = readLines();
    const QString id = QFileInfo(desktopFile).fileName();
    setKey(lines, defaults, mimeType, desktopFile.isNull() ? QStringList() : QStringList{id});
    if (!desktopFile.isNull()) {
        qsizetype end = -1;
        const qsizetype at = findKey(lines, added, mimeType, &end);
        QStringList associated = at < 0 ? QStringList() : valuesOf(lines.at(at));
        associated.removeAll(id);
        associated.prepend(id);
        setKey(lines, added, mimeType, associated);
    }
    QString text = lines.join(QLatin1Char('\n'));
    if (!text.endsWith(QLatin1Char('\n')))
        text += QLatin1Char('\n');
    OrvTargetFolder folder(configFolder());
    const QByteArray bytes = text.toUtf8();
    if (!folder.replace(QStringLiteral("mimeapps.list"), [&bytes](QIODevice* out) { return out->write(bytes) == bytes.size(); })) {
        qDebug() << "cannot write" << folder.path() + QStringLiteral("/mimeapps.list") << folder.errorString();
        return false;
    }
    return true;
}

} // namespace OrvXdgMimeApps
