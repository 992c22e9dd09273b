#include "OrvExportDialog.h"

#include <QButtonGroup>
#include <QComboBox>
#include <QDialogButtonBox>
#include <QFileDialog>
#include <QFormLayout>
#include <QHBoxLayout>
#include <QLabel>
#include <QLineEdit>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QVBoxLayout>

namespace {

enum FormatChoice { AsStored, Jpeg, Png };

} // namespace

OrvExportDialog::OrvExportDialog(int fotoCount, QWidget* parent)
    : QDialog(parent), myFolder(new QLineEdit), myFull(new QRadioButton(tr("Originalgröße"))),
      myFitted(new QRadioButton(tr("Einpassen in"))), myEdge(new QSpinBox), myFormat(new QComboBox),
      myExport(new QPushButton(tr("Exportieren")))
{
    setWindowTitle(fotoCount == 1 ? tr("1 Foto exportieren") : tr("%1 Fotos exportieren").arg(fotoCount));

    auto* folderRow = new QHBoxLayout;
    folderRow->addWidget(myFolder, 1);
    auto* choose = new QPushButton(tr("Auswählen …"));
    choose->setObjectName(QStringLiteral("choose"));
    folderRow->addWidget(choose);
    connect(choose, &QPushButton::clicked, this, &OrvExportDialog::chooseFolder);
    connect(myFolder, &QLineEdit::textChanged, this, &OrvExportDialog::updateButtons);

    auto* sizes = new QButtonGroup(this);
    sizes->addButton(myFull);
    sizes->addButton(myFitted);
    myFull->setChecked(true);
    myEdge->setRange(minimumEdge, maximumEdge);
    myEdge->setValue(defaultEdge);
    myEdge->setSuffix(tr(" Pixel"));
    myEdge->setEnabled(false);
    connect(myFitted, &QRadioButton::toggled, myEdge, &QWidget::setEnabled);
    auto* fittedRow = new QHBoxLayout;
    fittedRow->addWidget(myFitted);
    fittedRow->addWidget(myEdge);
    fittedRow->addStretch(1);
    auto* sizeColumn = new QVBoxLayout;
    sizeColumn->addWidget(myFull);
    sizeColumn->addLayout(fittedRow);

    myFormat->addItem(tr("Wie gespeichert"), AsStored);
    myFormat->addItem(QStringLiteral("JPEG"), Jpeg);
    myFormat->addItem(QStringLiteral("PNG"), Png);

    auto* form = new QFormLayout;
    form->addRow(tr("Ordner:"), folderRow);
    form->addRow(tr("Größe:"), sizeColumn);
    form->addRow(tr("Format:"), myFormat);

    // Buttons of our own: their texts follow the program's language, not Qt's.
    auto* buttons = new QDialogButtonBox;
    myExport->setDefault(true);
    buttons->addButton(myExport, QDialogButtonBox::AcceptRole);
    buttons->addButton(new QPushButton(tr("Abbrechen")), QDialogButtonBox::RejectRole);
    connect(buttons, &QDialogButtonBox::accepted, this, &QDialog::accept);
    connect(buttons, &QDialogButtonBox::rejected, this, &QDialog::reject);

    auto* layout = new QVBoxLayout(this);
    layout->addLayout(form);
    layout->addWidget(buttons);
    updateButtons();
}

QString OrvExportDialog::folder() const { return myFolder->text().trimmed(); }

void OrvExportDialog::setFolder(const QString& folder) { myFolder->setText(folder); }

OrvFotoExporter::Options OrvExportDialog::options() const
{
    OrvFotoExporter::Options options;
    options.full = myFull->isChecked();
    options.edge = options.full ? 0 : myEdge->value();
    switch (myFormat->currentData().toInt()) {
    case Jpeg:
        options.format = OrvMediaFormat(OrvMediaFormat::Jpeg);
        break;
    case Png:
        options.format = OrvMediaFormat(OrvMediaFormat::Png);
        break;
    default:
        break;
    }
    return options;
}

void OrvExportDialog::setOptions(const OrvFotoExporter::Options& options)
{
    (options.full ? myFull : myFitted)->setChecked(true);
    if (!options.full && options.edge > 0)
        myEdge->setValue(options.edge);
    const FormatChoice choice = options.format == OrvMediaFormat(OrvMediaFormat::Jpeg) ? Jpeg
        : options.format == OrvMediaFormat(OrvMediaFormat::Png)                      ? Png
                                                                                      : AsStored;
    myFormat->setCurrentIndex(myFormat->findData(choice));
}

void OrvExportDialog::chooseFolder()
{
    auto* chooser = new QFileDialog(this, tr("Ordner für die Fotos"), folder());
    chooser->setFileMode(QFileDialog::Directory);
    chooser->setOption(QFileDialog::ShowDirsOnly);
    chooser->setAttribute(Qt::WA_DeleteOnClose);
    connect(chooser, &QFileDialog::fileSelected, this, &OrvExportDialog::setFolder);
    chooser->open();
}

void OrvExportDialog::updateButtons() { myExport->setEnabled(!folder().isEmpty()); }
