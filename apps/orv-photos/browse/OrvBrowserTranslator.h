#pragma once

#include <QString>
#include <QTranslator>

// The browser's texts are German, as the plug-in's are; this is the catalogue
// of another language for them, built into the program. Installed with
// QCoreApplication::installTranslator before the window is made.
class OrvBrowserTranslator : public QTranslator
{
    Q_OBJECT
public:
    using QTranslator::QTranslator;

    // Loads the catalogue for language ("en"); false for German, which needs
    // none, and for a language there is no catalogue of.
    bool loadLanguage(const QString& language);
    // Where that catalogue is among the program's resources.
    static QString catalogue(const QString& language);
    // Puts the browser's catalogues among the program's resources, for whoever
    // loads every catalogue of a language from there.
    static void registerCatalogues();
};
