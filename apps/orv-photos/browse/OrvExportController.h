#pragma once

#include "OrvExportJob.h"
#include "OrvFotoExporter.h"

#include <QObject>
#include <QPointer>
#include <QString>

#include "OrvExportDialog.h"
#include <QProgressDialog>
class QWidget;

// "Export…" and "Copy" of a browser window, one at a time: the dialog that
// asks folder, size and format, the job that writes on a thread of its own,
// its progress (which can be cancelled: the job stops after the foto it is
// writing) and the line that says how it went. Copy writes the files as
// stored into a folder of its own in the host's temporary folder and puts
// them on the clipboard.
class OrvExportController : public QObject
{
    Q_OBJECT
public:
    enum Kind { Export, Copy };

    explicit OrvExportController(QWidget* window);
    ~OrvExportController() override;

    // Opens the dialog for these fotos; Export in it starts the job.
    void ask(const QList<OrvExportJob::Item>& items);
    // Starts at once; false when a job runs already or there is nothing to write.
    bool start(Kind kind, const QString& folder, const OrvFotoExporter::Options& options,
               const QList<OrvExportJob::Item>& items);
    void cancel();

    bool isRunning() const { return myJob != nullptr; }
    Kind kind() const { return myKind; }
    OrvExportJob* job() const { return myJob; }
    OrvExportDialog* dialog() const { return myDialog; }
    QProgressDialog* progressDialog() const { return myProgress; }
    // What the last job came to, as the status line said it.
    QString lastMessage() const { return myLastMessage; }

    // The progress dialog's text while so many of total are done.
    static QString progressText(Kind kind, int done, int total);
    // The progress dialog as a job shows it (after a moment), at done of total.
    QProgressDialog* makeProgressDialog(Kind kind, int done, int total);

signals:
    void runningChanged(bool running);
    // stopped: cancelled, or the folder took no file.
    void finished(OrvExportController::Kind kind, int written, int total, bool stopped);
    void message(const QString& text);

private:
    void onProgress(int done, int total);
    void onFinished(int written, int total, bool stopped);

    QWidget* myWindow;
    QPointer<OrvExportDialog> myDialog;
    QPointer<QProgressDialog> myProgress;
    OrvExportJob* myJob = nullptr;  // a child: cancelled and waited for when the window goes
    Kind myKind = Export;
    // The dialog offers what was chosen last.
    QString myFolder;
    OrvFotoExporter::Options myOptions;
    QString myLastMessage;
    int myCopies = 0;
};
