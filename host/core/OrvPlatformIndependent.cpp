#include "OrvPlatformIndependent.h"

#include <QStringList>

QOperatingSystemVersion OrvPlatformIndependent::operatingSystemVersion() const
{
    QMutexLocker locker(&myMutex);
    if (myOverride)
        return *myOverride;
    return QOperatingSystemVersion::current();
}

void OrvPlatformIndependent::setOperatingSystemVersion(const QOperatingSystemVersion& version)
{
    QMutexLocker locker(&myMutex);
    myOverride = version;
}

void OrvPlatformIndependent::resetOperatingSystemVersion()
{
    QMutexLocker locker(&myMutex);
    myOverride.reset();
}

bool OrvPlatformIndependent::isMacOS() const
{
    return operatingSystemVersion().type() == QOperatingSystemVersion::MacOS;
}

std::optional<QOperatingSystemVersion> OrvPlatformIndependent::parseOperatingSystem(const QString& text)
{
    const qsizetype colon = text.indexOf(QLatin1Char(':'));
    const QString name = (colon < 0 ? text : text.left(colon)).trimmed().toLower();
    QOperatingSystemVersion::OSType type = QOperatingSystemVersion::Unknown;
    if (name == QLatin1String("macos"))
        type = QOperatingSystemVersion::MacOS;
    else if (name == QLatin1String("windows"))
        type = QOperatingSystemVersion::Windows;
    else if (name == QLatin1String("ios"))
        type = QOperatingSystemVersion::IOS;
    else if (name != QLatin1String("linux") && name != QLatin1String("unknown"))
        return std::nullopt;

    int parts[3] = {-1, -1, -1};
    if (colon >= 0) {
        const QStringList numbers = text.mid(colon + 1).split(QLatin1Char('.'));
        if (numbers.size() > 3)
            return std::nullopt;
        for (int i = 0; i < numbers.size(); ++i) {
            bool ok = false;
            parts[i] = numbers.at(i).toInt(&ok);
            if (!ok || parts[i] < 0)
                return std::nullopt;
        }
    } else if (type != QOperatingSystemVersion::Unknown) {
        return std::nullopt;
    }
    return QOperatingSystemVersion(type, parts[0], parts[1], parts[2]);
}

QString OrvPlatformIndependent::describe(const QOperatingSystemVersion& version)
{
    QString text = version.type() == QOperatingSystemVersion::Unknown ? QStringLiteral("other") : version.name();
    if (version.majorVersion() >= 0)
        text += QLatin1Char(' ') + version.version().toString();
    return text;
}
