#include "OrvExternalService.h"

#include <QCoreApplication>

QString OrvFotoDatabaseType::displayName(const QString& serviceId)
{
    struct Name
    {
        const char* id;
        const char* name;
    };
    static const Name names[] = {
        {"photokit", QT_TRANSLATE_NOOP("OrvFotoDatabaseType", "Fotos")},
        {"applephotos", QT_TRANSLATE_NOOP("OrvFotoDatabaseType", "Fotos")},
        {"iphoto", "iPhoto"},
        {"aperture", "Aperture"},
        {"appleimagecapture", QT_TRANSLATE_NOOP("OrvFotoDatabaseType", "Kameras und Geräte")},
        {"filesystem", QT_TRANSLATE_NOOP("OrvFotoDatabaseType", "Dateisystem")},
    };
    for (const Name& entry : names) {
        if (serviceId == QLatin1String(entry.id))
            return QCoreApplication::translate("OrvFotoDatabaseType", entry.name);
    }
    return serviceId;
}
