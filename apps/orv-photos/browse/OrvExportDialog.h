#pragma once

#include "OrvFotoExporter.h"

#include <QDialog>

class QComboBox;
class QLineEdit;
class QPushButton;
class QRadioButton;
class QSpinBox;

// What "Export…" asks before it writes: the folder, the size (the files as
// they are, or fitted into a square of so many pixels) and the format (as
// stored, JPEG or PNG). Export stays disabled until a folder is named.
class OrvExportDialog : public QDialog
{
    Q_OBJECT
public:
    explicit OrvExportDialog(int fotoCount, QWidget* parent = nullptr);

    QString folder() const;
    void setFolder(const QString& folder);
    OrvFotoExporter::Options options() const;
    void setOptions(const OrvFotoExporter::Options& options);

    QLineEdit* folderEdit() const { return myFolder; }
    QRadioButton* fullSizeButton() const { return myFull; }
    QRadioButton* fittedButton() const { return myFitted; }
    QSpinBox* edgeBox() const { return myEdge; }
    QComboBox* formatBox() const { return myFormat; }
    QPushButton* exportButton() const { return myExport; }

    // Sizes offered; the spin box takes any edge in between.
    static constexpr int minimumEdge = 16;
    static constexpr int maximumEdge = 20000;
    static constexpr int defaultEdge = 2048;

private:
    void chooseFolder();
    void updateButtons();

    QLineEdit* myFolder;
    QRadioButton* myFull;
    QRadioButton* myFitted;
    QSpinBox* myEdge;
    QComboBox* myFormat;
    QPushButton* myExport;
};
