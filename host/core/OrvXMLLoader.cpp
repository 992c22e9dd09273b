#include "OrvXMLLoader.h"

#include <QDebug>
#include <QDomDocument>
#include <QFile>

QDomElement OrvXMLLoader::loadDocumentElement(const QFileInfo& file)
{
    QFile in(file.absoluteFilePath());
    if (!in.open(QIODevice::ReadOnly)) {
        qDebug() << "OrvXMLLoader: cannot open" << file.absoluteFilePath();
        return {};
    }
    QDomDocument document;
    QString error;
    int line = 0;
    int column = 0;
    if (!document.setContent(in.readAll(), &error, &line, &column)) {
        qDebug() << "OrvXMLLoader:" << file.absoluteFilePath() << line << column << error;
        return {};
    }
    return document.documentElement();
}
