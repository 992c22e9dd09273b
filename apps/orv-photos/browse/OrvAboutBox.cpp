#include "OrvAboutBox.h"

#include <QCoreApplication>

OrvAboutBox::OrvAboutBox(const QList<OrvExternalDatabase*>& sources, QWidget* parent) : QMessageBox(parent)
{
    setAttribute(Qt::WA_DeleteOnClose);
    setWindowTitle(tr("Über orv-photos"));
    QStringList names;
    for (const OrvExternalDatabase* database : sources)
        names.append(database->service().displayName());
    const QString version = QCoreApplication::applicationVersion();
    setTextFormat(Qt::RichText);
    setText(QStringLiteral("<h3>orv-photos%1</h3>").arg(version.isEmpty() ? QString() : QLatin1Char(' ') + version));
    setInformativeText(
        QStringLiteral("<p>")
        + tr("Die Fotos von iPhoto, Aperture, der Fotos-Mediathek und von Kameras, wie eine Anwendung sie zeigt.")
        + QStringLiteral("</p><p>") + tr("Quellen: %1").arg(names.isEmpty() ? tr("keine") : names.join(QStringLiteral(", ")))
        + QStringLiteral("</p><p>") + tr("Mit Qt %1").arg(QString::fromLatin1(qVersion())) + QStringLiteral("</p>"));
    // A button of our own: its text follows the program's language, not Qt's.
    addButton(tr("OK"), QMessageBox::AcceptRole);
}
