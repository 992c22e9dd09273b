#include "OrvBrowserTranslator.h"

#include <QFileInfo>

// The catalogue lives in this static library's resources, which the linker
// keeps only when something asks for them by name.
void OrvBrowserTranslator::registerCatalogues() { Q_INIT_RESOURCE(OrvPhotoBrowserTranslations); }

bool OrvBrowserTranslator::loadLanguage(const QString& language)
{
    registerCatalogues();
    const QString file = catalogue(language);
    return QFileInfo::exists(file) && load(file);
}

QString OrvBrowserTranslator::catalogue(const QString& language)
{
    return QStringLiteral(":/orv/translations/OrvPhotoBrowser_%1.qm").arg(language);
}
