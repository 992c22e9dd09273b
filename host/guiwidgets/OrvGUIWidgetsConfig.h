#pragma once

#include "OrvSingleton.h"

#include <QHash>
#include <QIcon>
#include <QImage>
#include <QMutex>
#include <QString>

// Icons and images of the host's look, by id ("album", "folder", "camera", "photo").
class OrvGUIWidgetsConfig : public OrvSingleton<OrvGUIWidgetsConfig>
{
public:
    // A null icon for an unknown id.
    QIcon loadIconById(const QString& id);
    // The image of the id; variant 'd' is a darker look for selected rows. Null for an unknown id.
    QImage loadImageById(const QString& id, char variant = 0);

private:
    friend class OrvSingleton<OrvGUIWidgetsConfig>;
    OrvGUIWidgetsConfig();
    QString pathFor(const QString& id) const;

    QMutex myMutex;
    QHash<QString, QImage> myImages;
};
