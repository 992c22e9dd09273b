#pragma once

#include <QByteArray>
#include <QDomElement>
#include <QFileInfo>

// Loads XML files for the host's sources.
class OrvXMLLoader
{
public:
    // The document element of the file, or a null element when the file cannot be read or parsed.
    static QDomElement loadDocumentElement(const QFileInfo& file);
};
