#include "OrvGUIWidgetsConfig.h"

#include <QFile>
#include <QPixmap>

static void initGuiWidgetsResources() { Q_INIT_RESOURCE(guiwidgets); }

OrvGUIWidgetsConfig::OrvGUIWidgetsConfig() { initGuiWidgetsResources(); }

QString OrvGUIWidgetsConfig::pathFor(const QString& id) const
{
    if (id.isEmpty() || id.contains(QLatin1Char('/')) || id.contains(QLatin1String("..")))
        return {};
    const QString path = QStringLiteral(":/orv/guiwidgets/icons/%1.xpm").arg(id);
    return QFile::exists(path) ? path : QString();
}

QImage OrvGUIWidgetsConfig::loadImageById(const QString& id, char variant)
{
    const QString key = id + QLatin1Char(variant ? variant : '-');
    QMutexLocker locker(&myMutex);
    const auto it = myImages.constFind(key);
    if (it != myImages.constEnd())
        return *it;
    const QString path = pathFor(id);
    QImage image = path.isEmpty() ? QImage() : QImage(path);
    if (!image.isNull() && variant == 'd') {
        image = image.convertToFormat(QImage::Format_ARGB32);
        for (int y = 0; y < image.height(); ++y) {
            auto* line = reinterpret_cast<QRgb*>(image.scanLine(y));
            for (int x = 0; x < image.width(); ++x)
                line[x] = qRgba(qRed(line[x]) / 2, qGreen(line[x]) / 2, qBlue(line[x]) / 2, qAlpha(line[x]));
        }
    }
    myImages.insert(key, image);
    return image;
}

QIcon OrvGUIWidgetsConfig::loadIconById(const QString& id)
{
    const QImage image = loadImageById(id);
    return image.isNull() ? QIcon() : QIcon(QPixmap::fromImage(image));
}
