#include "OrvLanguage.h"

#include <QCoreApplication>
#include <QDir>
#include <QLibraryInfo>
#include <QLocale>
#include <QTranslator>

namespace {

const QString catalogueFolder = QStringLiteral(":/orv/translations");

} // namespace

QString OrvLanguage::systemLanguage()
{
    return QLocale::system().language() == QLocale::German ? QStringLiteral("de") : QStringLiteral("en");
}

OrvLanguage::OrvLanguage(const QString& language) : myLanguage(language)
{
    // The system's own locale where it speaks the language (its date formats, its
    // country); else the language's, so that month albums and dates follow the language.
    const QLocale locale(language);
    if (QLocale::system().language() != locale.language())
        QLocale::setDefault(locale);
    // libgphoto2 and other libraries that translate through gettext.
    qputenv("LANGUAGE", language.toLatin1());
    // Qt's own texts (standard buttons and dialogs), where the system has them.
    auto qt = std::make_unique<QTranslator>();
    if (qt->load(locale, QStringLiteral("qtbase"), QStringLiteral("_"),
                 QLibraryInfo::path(QLibraryInfo::TranslationsPath)))
        install(std::move(qt), QStringLiteral("qtbase_") + language);
    installCatalogues();
}

OrvLanguage::~OrvLanguage()
{
    for (const auto& translator : myTranslators)
        QCoreApplication::removeTranslator(translator.get());
}

void OrvLanguage::installCatalogues()
{
    const QStringList names
        = QDir(catalogueFolder)
              .entryList({QStringLiteral("*_") + myLanguage + QStringLiteral(".qm")}, QDir::Files, QDir::Name);
    for (const QString& name : names) {
        if (myCatalogues.contains(name))
            continue;
        auto translator = std::make_unique<QTranslator>();
        if (translator->load(catalogueFolder + QLatin1Char('/') + name))
            install(std::move(translator), name);
    }
}

void OrvLanguage::install(std::unique_ptr<QTranslator> translator, const QString& name)
{
    QCoreApplication::installTranslator(translator.get());
    myTranslators.push_back(std::move(translator));
    myCatalogues.append(name);
}
