#include "OrvQtCompat.h"

#include <QByteArray>
#include <QDomDocument>

bool OrvQt::setDomContent(QDomDocument* document, const QByteArray& bytes, QString* message)
{
#if QT_VERSION >= QT_VERSION_CHECK(6, 5, 0)
    const QDomDocument::ParseResult result = document->setContent(bytes);
    if (!result)
        *message = QStringLiteral("%1:%2: %3").arg(result.errorLine).arg(result.errorColumn).arg(result.errorMessage);
    return bool(result);
#else
    QString error;
    int line = 0;
    int column = 0;
    const bool ok = document->setContent(bytes, &error, &line, &column);
    if (!ok)
        *message = QStringLiteral("%1:%2: %3").arg(line).arg(column).arg(error);
    return ok;
#endif
}
