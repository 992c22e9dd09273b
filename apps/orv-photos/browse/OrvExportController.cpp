#include "OrvExportController.h"

#include "OrvExportDialog.h"
#include "OrvFotoRegistries.h"

#include <QApplication>
#include <QClipboard>
#include <QDir>
#include <QMimeData>
#include <QProgressDialog>
#include <QUrl>
#include <QWidget>

#include <utility>

OrvExportController::OrvExportController(QWidget* window) : QObject(window), myWindow(window)
{
    myOptions.full = true;
}

OrvExportController::~OrvExportController() = default;

void OrvExportController::ask(const QList<OrvExportJob::Item>& items)
{
    if (isRunning() || items.isEmpty())
        return;
    if (myDialog)
        myDialog->close();
    auto* dialog = new OrvExportDialog(int(items.size()), myWindow);
    dialog->setAttribute(Qt::WA_DeleteOnClose);
    dialog->setFolder(myFolder);
    dialog->setOptions(myOptions);
    connect(dialog, &QDialog::accepted, this, [this, dialog, items] {
        myFolder = dialog->folder();
        myOptions = dialog->options();
        start(Export, myFolder, myOptions, items);
    });
    myDialog = dialog;
    dialog->open();
}

QString OrvExportController::progressText(Kind kind, int done, int total)
{
    return kind == Copy ? tr("%1 von %2 Fotos kopiert …").arg(done).arg(total)
                        : tr("%1 von %2 Fotos exportiert …").arg(done).arg(total);
}

bool OrvExportController::start(Kind kind, const QString& folder, const OrvFotoExporter::Options& options,
                                const QList<OrvExportJob::Item>& items)
{
    if (isRunning() || items.isEmpty())
        return false;
    QString target = folder;
    if (kind == Copy) {
        // Each copy gets a folder of its own, so two fotos of one name stay apart.
        target = QDir(OrvSingleton<OrvFotoSafeContainer>::instance()->temporaryDir())
                     .filePath(QStringLiteral("copy-%1").arg(++myCopies));
    }
    myKind = kind;
    myJob = new OrvExportJob(target, options, items, this);
    connect(myJob, &OrvExportJob::progressed, this, &OrvExportController::onProgress);
    connect(myJob, &OrvExportJob::finished, this, &OrvExportController::onFinished);

    myProgress = makeProgressDialog(kind, 0, int(items.size()));
    connect(myProgress, &QProgressDialog::canceled, this, &OrvExportController::cancel);

    emit runningChanged(true);
    myJob->start();
    return true;
}

QProgressDialog* OrvExportController::makeProgressDialog(Kind kind, int done, int total)
{
    auto* progress = new QProgressDialog(myWindow);
    progress->setWindowTitle(kind == Copy ? tr("Kopieren") : tr("Exportieren"));
    progress->setLabelText(progressText(kind, done, total));
    progress->setCancelButtonText(tr("Abbrechen"));
    progress->setRange(0, total);
    progress->setWindowModality(Qt::WindowModal);
    // Short jobs come and go without a dialog.
    progress->setMinimumDuration(500);
    progress->setAutoClose(false);
    progress->setAutoReset(false);
    progress->setValue(done);
    return progress;
}

void OrvExportController::cancel()
{
    if (!myJob)
        return;
    myJob->cancel();
    if (myProgress)
        myProgress->setLabelText(tr("Wird nach diesem Foto abgebrochen …"));
}

void OrvExportController::onProgress(int done, int total)
{
    if (!myProgress || !myJob || myJob->isCancelled())
        return;
    myProgress->setLabelText(progressText(myKind, done, total));
    myProgress->setValue(done);
}

void OrvExportController::onFinished(int written, int total, bool stopped)
{
    // It is inside its own signal: gone once the event loop turns again.
    OrvExportJob* job = std::exchange(myJob, nullptr);
    job->deleteLater();
    if (myProgress) {
        // Closing it says "cancel"; there is nothing left to cancel.
        myProgress->disconnect(this);
        myProgress->close();
        myProgress->deleteLater();
    }
    const QString folder = QDir::toNativeSeparators(job->folderPath());
    if (!job->isOpen()) {
        myLastMessage = tr("Der Ordner %1 lässt sich nicht anlegen: %2").arg(folder, job->errorString());
    } else if (myKind == Copy) {
        QList<QUrl> urls;
        const QDir dir(job->folderPath());
        for (const QString& name : job->writtenNames())
            urls.append(QUrl::fromLocalFile(dir.filePath(name)));
        if (!urls.isEmpty() && !stopped) {
            auto* data = new QMimeData;
            data->setUrls(urls);
            QApplication::clipboard()->setMimeData(data);
        }
        myLastMessage = stopped ? tr("Kopieren abgebrochen: nichts in die Zwischenablage gelegt")
            : written == 1      ? tr("1 Foto in die Zwischenablage kopiert")
                                : tr("%1 Fotos in die Zwischenablage kopiert").arg(written);
    } else if (stopped) {
        myLastMessage = tr("Export abgebrochen: %1 von %2 Fotos nach %3 geschrieben").arg(written).arg(total).arg(folder);
    } else {
        myLastMessage = tr("%1 von %2 Fotos nach %3 exportiert").arg(written).arg(total).arg(folder);
    }
    emit message(myLastMessage);
    emit runningChanged(false);
    emit finished(myKind, written, total, stopped);
}
