#pragma once

#include <QList>
#include <QMessageBox>

#include "OrvExternalDatabase.h"

// Help > About: the program, its version, the sources it shows and the Qt it runs on.
class OrvAboutBox : public QMessageBox
{
    Q_OBJECT
public:
    OrvAboutBox(const QList<OrvExternalDatabase*>& sources, QWidget* parent = nullptr);
};
