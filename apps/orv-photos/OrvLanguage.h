#pragma once

#include <QString>
#include <QStringList>

#include <memory>
#include <vector>

class QTranslator;

// One language for a whole run: the program's texts, the plug-in's, the
// browser's and Qt's own, month names and dates. Catalogues are the .qm files
// named NAME_LANGUAGE.qm under :/orv/translations, whoever brought them: the
// program's own and, once it is loaded, the plug-in's.
class OrvLanguage
{
public:
    // "de" on a German system, "en" otherwise.
    static QString systemLanguage();

    // Sets the locale for dates and names, and installs the catalogues there are now.
    explicit OrvLanguage(const QString& language);
    ~OrvLanguage();
    OrvLanguage(const OrvLanguage&) = delete;
    OrvLanguage& operator=(const OrvLanguage&) = delete;

    const QString& language() const { return myLanguage; }
    // Installs the catalogues that have come since (a plug-in's, once loaded).
    void installCatalogues();
    // The catalogues installed, by file name.
    const QStringList& catalogues() const { return myCatalogues; }

private:
    void install(std::unique_ptr<QTranslator> translator, const QString& name);

    const QString myLanguage;
    std::vector<std::unique_ptr<QTranslator>> myTranslators;
    QStringList myCatalogues;
};
