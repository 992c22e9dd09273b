// The browser's menus, shortcuts, context menu and dialogs, driven with keys
// and clicks as a user drives them; its labels in one language at a time.
// Pictures of the dialogs go to the build folder (screenshots/).

#include "BrowserTestSupport.h"
#include "OrvBrowserTranslator.h"
#include "OrvBrowserWindow.h"
#include "OrvExportController.h"
#include "OrvExportDialog.h"
#include "OrvFotoCacheManager.h"
#include "OrvFotoDetailsView.h"
#include "OrvFotoGridModel.h"
#include "OrvSourceTreeModel.h"
#include "OrvThumbnailLoader.h"

#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QAbstractButton>
#include <QAction>
#include <QApplication>
#include <QClipboard>
#include <QComboBox>
#include <QContextMenuEvent>
#include <QDir>
#include <QFile>
#include <QImageReader>
#include <QLabel>
#include <QLineEdit>
#include <QListView>
#include <QMenu>
#include <QMenuBar>
#include <QMessageBox>
#include <QMimeData>
#include <QProgressDialog>
#include <QPushButton>
#include <QRadioButton>
#include <QSpinBox>
#include <QStatusBar>
#include <QTemporaryDir>
#include <QTest>
#include <QXmlStreamReader>

#include <memory>
#include <thread>

using namespace BrowserTest;

namespace {

// A window on the album, active, so that its shortcuts reach it.
void openActive(OrvBrowserWindow& window, const QString& album)
{
    window.resize(1000, 650);
    window.show();
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    ASSERT_TRUE(window.openAlbum(QStringLiteral("iphoto"), album));
    ASSERT_TRUE(window.waitForVisibleThumbnails(20000));
}

QStringList rowIds(const OrvBrowserWindow& window)
{
    QStringList ids;
    for (int row = 0; row < window.gridModel()->rowCount(); ++row)
        ids.append(window.gridModel()->fotoAt(row).id().remoteId());
    return ids;
}

QStringList actionTexts(const QMenu* menu)
{
    QStringList texts;
    for (const QAction* action : menu->actions())
        texts.append(action->text());
    return texts;
}

QAbstractButton* buttonNamed(const QWidget* parent, const QString& text)
{
    for (QAbstractButton* button : parent->findChildren<QAbstractButton*>()) {
        if (button->text() == text)
            return button;
    }
    return nullptr;
}

void rightClick(OrvBrowserWindow& window, const OrvExternalId& foto)
{
    const QPoint at = window.gridView()->visualRect(window.gridModel()->indexForFoto(foto)).center();
    QWidget* viewport = window.gridView()->viewport();
    QContextMenuEvent event(QContextMenuEvent::Mouse, at, viewport->mapToGlobal(at));
    QCoreApplication::sendEvent(viewport, &event);
}

QString statusMessage(const OrvBrowserWindow& window) { return window.statusBar()->currentMessage(); }

} // namespace

TEST(BrowserCommands, MenusAndShortcutsOfTheDesktop)
{
    OrvBrowserWindow window({iphoto()});
    QStringList menus;
    for (const QAction* action : window.menuBar()->actions())
        menus.append(action->text());
    EXPECT_EQ(menus, (QStringList{"&Datei", "&Bearbeiten", "&Ansicht", "&Hilfe"}));
    const QMenu* file = window.menuBar()->actions().first()->menu();
    EXPECT_EQ(actionTexts(file), (QStringList{"Exportieren …", "", "Beenden"}));
    using Window = OrvBrowserWindow;
    const QList<QKeySequence> quit = QKeySequence::keyBindings(QKeySequence::Quit);
    EXPECT_EQ(window.action(Window::QuitCommand)->shortcut(), quit.isEmpty() ? QKeySequence(Qt::CTRL | Qt::Key_Q) : quit.first());
    EXPECT_EQ(window.action(Window::SelectAllCommand)->shortcut(), QKeySequence(QKeySequence::SelectAll));
    EXPECT_EQ(window.action(Window::CopyCommand)->shortcut(), QKeySequence(QKeySequence::Copy));
    EXPECT_EQ(window.action(Window::ZoomInCommand)->shortcut(), QKeySequence(QKeySequence::ZoomIn));
    EXPECT_EQ(window.action(Window::ZoomOutCommand)->shortcut(), QKeySequence(QKeySequence::ZoomOut));
    EXPECT_EQ(window.action(Window::ExportCommand)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_E));
    EXPECT_EQ(window.action(Window::ActualSizeCommand)->shortcut(), QKeySequence(Qt::CTRL | Qt::Key_0));
    // Nothing is selected: nothing to export or copy.
    EXPECT_FALSE(window.action(Window::ExportCommand)->isEnabled());
    EXPECT_FALSE(window.action(Window::CopyCommand)->isEnabled());
}

TEST(BrowserCommands, KeysSelectZoomAndQuit)
{
    OrvBrowserWindow window({iphoto()});
    openActive(window, QStringLiteral("Holiday"));
    // Nothing cached: every thumbnail shown is one the loader was asked for.
    OrvSingleton<OrvFotoCacheManager>::instance()->clear();
    QList<QSize> asked;
    QObject::connect(window.loader(), &OrvThumbnailLoader::ready,
                     [&](const OrvExternalId&, const QSize& size, const QImage&, const QSize&) { asked.append(size); });

    QTest::keySequence(&window, QKeySequence(QKeySequence::SelectAll));
    EXPECT_EQ(window.selectedCount(), 30);
    EXPECT_TRUE(window.statusText().contains(QStringLiteral("30 von 30 Fotos ausgewählt"))) << window.statusText().toStdString();
    EXPECT_TRUE(window.action(OrvBrowserWindow::ExportCommand)->isEnabled());

    // Larger thumbnails are asked for again, at the new size, and shown at it.
    QTest::keySequence(&window, QKeySequence(QKeySequence::ZoomIn));
    EXPECT_EQ(window.thumbnailEdge(), 256);
    EXPECT_EQ(window.gridView()->iconSize(), QSize(256, 256));
    ASSERT_TRUE(window.waitForVisibleThumbnails(20000));
    EXPECT_TRUE(asked.contains(QSize(256, 256)));
    const QModelIndex first = window.gridModel()->index(0, 0);
    EXPECT_EQ(first.data(OrvFotoGridModel::ThumbnailStateRole).toInt(), OrvFotoGridModel::Shown);
    EXPECT_EQ(first.data(Qt::DecorationRole).value<QPixmap>().size(), QSize(256, 256));
    screenshot(window, QStringLiteral("zoomed-in.png"));

    for (int i = 0; i < 4; ++i)
        QTest::keySequence(&window, QKeySequence(QKeySequence::ZoomOut));
    EXPECT_EQ(window.thumbnailEdge(), 96) << "the smallest step, however often";
    EXPECT_FALSE(window.action(OrvBrowserWindow::ZoomOutCommand)->isEnabled());
    ASSERT_TRUE(window.waitForVisibleThumbnails(20000));
    EXPECT_EQ(first.data(Qt::DecorationRole).value<QPixmap>().size(), QSize(96, 96));
    QTest::keySequence(&window, QKeySequence(Qt::CTRL | Qt::Key_0));
    EXPECT_EQ(window.thumbnailEdge(), OrvFotoGridModel::defaultThumbnailSize().width());
    EXPECT_EQ(window.selectedCount(), 30) << "zooming keeps the selection";

    QTest::keySequence(&window, window.action(OrvBrowserWindow::QuitCommand)->shortcut());
    EXPECT_FALSE(window.isVisible());
}

TEST(BrowserCommands, SortByDateNameOrAsTheAlbumHasThem)
{
    OrvBrowserWindow window({iphoto()});
    openActive(window, QStringLiteral("Mixed"));
    EXPECT_TRUE(window.action(OrvBrowserWindow::SortByDateCommand)->isChecked());
    EXPECT_EQ(rowIds(window), (QStringList{"32", "33", "31"})) << "by date taken at first";
    window.action(OrvBrowserWindow::SortByNameCommand)->trigger();
    EXPECT_EQ(rowIds(window), (QStringList{"33", "31", "32"}));
    EXPECT_TRUE(window.action(OrvBrowserWindow::SortByNameCommand)->isChecked());
    EXPECT_FALSE(window.action(OrvBrowserWindow::SortByDateCommand)->isChecked());
    window.action(OrvBrowserWindow::SortAsAlbumCommand)->trigger();
    EXPECT_EQ(rowIds(window), (QStringList{"31", "32", "33"}));
    // The order holds for the next album opened.
    ASSERT_TRUE(window.openAlbum(QStringLiteral("iphoto"), QStringLiteral("Trips")));
    EXPECT_EQ(rowIds(window), (QStringList{"3", "1", "2", "5"}));
    window.action(OrvBrowserWindow::SortByDateCommand)->trigger();
    EXPECT_EQ(rowIds(window), (QStringList{"1", "2", "3", "5"}));
}

TEST(BrowserCommands, TheTitleNamesSourceAndAlbum)
{
    OrvBrowserWindow window({iphoto()});
    window.show();
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Fotos"));
    window.openSource(iphoto());
    EXPECT_EQ(window.windowTitle(), QStringLiteral("iPhoto"));
    ASSERT_TRUE(window.openAlbum(QStringLiteral("iphoto"), QStringLiteral("Holiday")));
    EXPECT_EQ(window.windowTitle(), QStringLiteral("Holiday – iPhoto"));
}

TEST(BrowserCommands, ExportAsksSizeAndFormatAndWritesThat)
{
    OrvBrowserWindow window({iphoto()});
    openActive(window, QStringLiteral("Holiday"));
    ASSERT_EQ(window.selectFotos({iphotoFoto(3), iphotoFoto(4)}), 2);
    QTest::keySequence(&window, QKeySequence(Qt::CTRL | Qt::Key_E));
    OrvExportDialog* dialog = window.exporter()->dialog();
    ASSERT_TRUE(dialog);
    ASSERT_TRUE(OrvTest::waitFor([&] { return dialog->isVisible(); }));
    EXPECT_EQ(dialog->windowTitle(), QStringLiteral("2 Fotos exportieren"));
    EXPECT_FALSE(dialog->exportButton()->isEnabled()) << "no folder yet";
    EXPECT_TRUE(dialog->fullSizeButton()->isChecked());
    screenshot(*dialog, QStringLiteral("export-dialog.png"));

    QTemporaryDir out;
    QTest::keyClicks(dialog->folderEdit(), out.path());
    QTest::mouseClick(dialog->fittedButton(), Qt::LeftButton);
    EXPECT_TRUE(dialog->edgeBox()->isEnabled());
    dialog->edgeBox()->setValue(64);
    dialog->formatBox()->setCurrentIndex(dialog->formatBox()->findText(QStringLiteral("PNG")));
    int written = -1;
    QObject::connect(&window, &OrvBrowserWindow::exportFinished, [&](int count, int, bool) { written = count; });
    QTest::mouseClick(dialog->exportButton(), Qt::LeftButton);
    ASSERT_TRUE(OrvTest::waitFor([&] { return written >= 0; }, 20000));
    EXPECT_EQ(written, 2);
    EXPECT_EQ(QDir(out.path()).entryList(QDir::Files), (QStringList{"IMG_0003.png", "IMG_0004.png"}));
    QImageReader reader(out.filePath(QStringLiteral("IMG_0003.png")));
    EXPECT_EQ(reader.format(), QByteArray("png"));
    EXPECT_EQ(reader.size(), QSize(64, 48));
    EXPECT_TRUE(statusMessage(window).startsWith(QStringLiteral("2 von 2 Fotos nach "))) << statusMessage(window).toStdString();

    // Asked again, it offers what was chosen; Cancel writes nothing.
    window.activateWindow();
    ASSERT_TRUE(QTest::qWaitForWindowActive(&window));
    QTest::keySequence(&window, QKeySequence(Qt::CTRL | Qt::Key_E));
    dialog = window.exporter()->dialog();
    ASSERT_TRUE(dialog);
    EXPECT_EQ(dialog->folder(), out.path());
    EXPECT_TRUE(dialog->fittedButton()->isChecked());
    EXPECT_EQ(dialog->edgeBox()->value(), 64);
    EXPECT_EQ(dialog->formatBox()->currentText(), QStringLiteral("PNG"));
    QAbstractButton* cancel = buttonNamed(dialog, QStringLiteral("Abbrechen"));
    ASSERT_TRUE(cancel);
    QTest::mouseClick(cancel, Qt::LeftButton);
    QCoreApplication::processEvents();
    EXPECT_FALSE(window.isExporting());
    EXPECT_EQ(QDir(out.path()).entryList(QDir::Files).size(), 2);

    // A folder that cannot be made is said, and nothing runs.
    const QString blocked = out.filePath(QStringLiteral("IMG_0003.png/inside"));
    written = -1;
    window.exportSelection(blocked, OrvFotoExporter::Options{true, 0, OrvMediaFormat()});
    ASSERT_TRUE(OrvTest::waitFor([&] { return written >= 0; }));
    EXPECT_EQ(written, 0);
    EXPECT_TRUE(statusMessage(window).contains(QStringLiteral("lässt sich nicht anlegen"))) << statusMessage(window).toStdString();
}

TEST(BrowserCommands, CancelStopsAfterTheFotoBeingWritten)
{
    GatedSource source;
    OrvBrowserWindow window({&source});
    window.show();
    window.openSource(&source);
    const OrvExternalId album = source.addAlbum(QStringLiteral("Gate"), {"g1", "g2", "g3", "g4", "g5"});
    ASSERT_TRUE(OrvTest::waitFor([&] { return window.openAlbum(&source, album); }));
    ASSERT_TRUE(window.waitForVisibleThumbnails(20000));
    window.action(OrvBrowserWindow::SelectAllCommand)->trigger();

    // Exports of 48 pixels wait at the gate, one permit a foto.
    source.gatedSize = QSize(48, 48);
    source.setOpen(false);
    QTemporaryDir out;
    int written = -1;
    int total = -1;
    bool stopped = false;
    QObject::connect(&window, &OrvBrowserWindow::exportFinished, [&](int count, int all, bool cut) {
        written = count;
        total = all;
        stopped = cut;
    });
    window.exportSelection(out.path(), OrvFotoExporter::Options{false, 48, OrvMediaFormat(OrvMediaFormat::Png)});
    ASSERT_TRUE(window.isExporting());
    EXPECT_FALSE(window.action(OrvBrowserWindow::ExportCommand)->isEnabled()) << "one export at a time";
    source.permit(2);
    QProgressDialog* progress = window.exporter()->progressDialog();
    ASSERT_TRUE(progress);
    ASSERT_TRUE(OrvTest::waitFor([&] { return progress->labelText() == QStringLiteral("2 von 5 Fotos exportiert …"); }, 20000))
        << progress->labelText().toStdString();
    EXPECT_EQ(progress->value(), 2);
    ASSERT_TRUE(OrvTest::waitFor([&] { return source.waiting() == 1; }, 20000)) << "the third foto is being written";
    EXPECT_TRUE(OrvTest::waitFor([&] { return window.statusText().contains(QStringLiteral("2 von 5 Fotos exportiert")); }))
        << window.statusText().toStdString();
    progress->show();
    screenshot(*progress, QStringLiteral("export-progress.png"));

    QAbstractButton* cancel = buttonNamed(progress, QStringLiteral("Abbrechen"));
    ASSERT_TRUE(cancel);
    QTest::mouseClick(cancel, Qt::LeftButton);
    source.permit(1);
    ASSERT_TRUE(OrvTest::waitFor([&] { return written >= 0; }, 20000));
    EXPECT_EQ(written, 3) << "the foto being written is finished, no other is begun";
    EXPECT_EQ(total, 5);
    EXPECT_TRUE(stopped);
    EXPECT_EQ(QDir(out.path()).entryList(QDir::Files), (QStringList{"g1.png", "g2.png", "g3.png"}));
    EXPECT_EQ(statusMessage(window),
              QStringLiteral("Export abgebrochen: 3 von 5 Fotos nach %1 geschrieben").arg(QDir::toNativeSeparators(out.path())));
    EXPECT_EQ(source.waiting(), 0);
    EXPECT_TRUE(window.action(OrvBrowserWindow::ExportCommand)->isEnabled());
    source.setOpen(true);
}

TEST(BrowserCommands, ContextMenuOnFotos)
{
    OrvBrowserWindow window({iphoto()});
    openActive(window, QStringLiteral("Holiday"));
    ASSERT_EQ(window.selectFotos({iphotoFoto(1)}), 1);

    // A right click beside the selection selects what was clicked.
    window.action(OrvBrowserWindow::DetailsCommand)->setChecked(false);
    EXPECT_FALSE(window.detailsView()->isVisible());
    rightClick(window, iphotoFoto(5));
    QMenu* menu = window.contextMenu();
    ASSERT_TRUE(menu);
    EXPECT_TRUE(menu->isVisible());
    EXPECT_EQ(selectedIds(window), QStringList{"5"});
    EXPECT_EQ(actionTexts(menu), (QStringList{"Exportieren …", "Kopieren", "", "Details anzeigen"}));
    screenshot(*menu, QStringLiteral("context-menu.png"));
    menu->actions().last()->trigger();
    EXPECT_TRUE(window.detailsView()->isVisible());
    EXPECT_EQ(window.detailsView()->fotoId(), iphotoFoto(5));
    menu->close();

    // Inside the selection it is kept; Copy puts the files on the clipboard.
    ASSERT_EQ(window.selectFotos({iphotoFoto(5), iphotoFoto(6)}), 2);
    rightClick(window, iphotoFoto(6));
    ASSERT_TRUE(window.contextMenu());
    EXPECT_EQ(selectedIds(window), (QStringList{"5", "6"}));
    int copied = -1;
    QObject::connect(&window, &OrvBrowserWindow::copyFinished, [&](int count) { copied = count; });
    window.contextMenu()->actions().at(1)->trigger();
    ASSERT_TRUE(OrvTest::waitFor([&] { return copied >= 0; }, 20000));
    EXPECT_EQ(copied, 2);
    const QMimeData* clipboard = QApplication::clipboard()->mimeData();
    ASSERT_TRUE(clipboard);
    ASSERT_EQ(clipboard->urls().size(), 2);
    for (const QUrl& url : clipboard->urls()) {
        const QByteArray original = OrvTest::readFile(libraries().dir.path() + QStringLiteral("/Masters/") + url.fileName());
        EXPECT_EQ(OrvTest::readFile(url.toLocalFile()), original) << url.toString().toStdString();
    }
    EXPECT_EQ(statusMessage(window), QStringLiteral("2 Fotos in die Zwischenablage kopiert"));

    // Export… from it asks as the menu does.
    rightClick(window, iphotoFoto(6));
    window.contextMenu()->actions().first()->trigger();
    ASSERT_TRUE(window.exporter()->dialog());
    EXPECT_EQ(window.exporter()->dialog()->windowTitle(), QStringLiteral("2 Fotos exportieren"));
    window.exporter()->dialog()->reject();
    // Beside the fotos there is nothing to ask about.
    const QWidget* viewport = window.gridView()->viewport();
    EXPECT_EQ(window.openContextMenu(QPoint(viewport->width() - 2, viewport->height() - 2)), nullptr);
}

TEST(BrowserCommands, AboutNamesTheProgramAndItsSources)
{
    OrvBrowserWindow window({iphoto()});
    window.show();
    window.action(OrvBrowserWindow::AboutCommand)->trigger();
    auto* box = window.findChild<QMessageBox*>();
    ASSERT_TRUE(box);
    ASSERT_TRUE(OrvTest::waitFor([&] { return box->isVisible(); }));
    EXPECT_EQ(box->windowTitle(), QStringLiteral("Über orv-photos"));
    EXPECT_TRUE(box->text().contains(QStringLiteral("orv-photos")));
    EXPECT_TRUE(box->informativeText().contains(QStringLiteral("Quellen: iPhoto"))) << box->informativeText().toStdString();
    screenshot(*box, QStringLiteral("about.png"));
    QAbstractButton* ok = buttonNamed(box, QStringLiteral("OK"));
    ASSERT_TRUE(ok);
    QTest::mouseClick(ok, Qt::LeftButton);
    EXPECT_TRUE(OrvTest::waitFor([&] { return !window.findChild<QMessageBox*>() || !window.findChild<QMessageBox*>()->isVisible(); }));
}

namespace {

// The catalogue: each German text and its English translation.
QList<QPair<QString, QString>> catalogue()
{
    QFile file(OrvTest::sourceDir() + QStringLiteral("/translations/OrvPhotoBrowser_en.ts"));
    QList<QPair<QString, QString>> pairs;
    if (!file.open(QIODevice::ReadOnly))
        return pairs;
    QXmlStreamReader xml(&file);
    QString source;
    while (!xml.atEnd()) {
        if (xml.readNext() != QXmlStreamReader::StartElement)
            continue;
        if (xml.name() == QLatin1String("source"))
            source = xml.readElementText();
        else if (xml.name() == QLatin1String("translation"))
            pairs.append({source, xml.readElementText()});
    }
    return pairs;
}

// What the window says of itself: menus and their commands, the toolbar, the
// status line, and the labels and buttons of its dialogs.
QStringList labels(OrvBrowserWindow& window)
{
    QStringList texts{window.windowTitle(), window.statusText()};
    for (const QAction* action : window.findChildren<QAction*>())
        texts.append(action->text());
    for (const QWidget* widget : window.findChildren<QWidget*>()) {
        if (const auto* label = qobject_cast<const QLabel*>(widget))
            texts.append(label->text());
        else if (const auto* button = qobject_cast<const QAbstractButton*>(widget))
            texts.append(button->text());
        if (widget->isWindow())
            texts.append(widget->windowTitle());
    }
    texts.removeAll(QString());
    return texts;
}

QStringList labelsWithDialogs(OrvBrowserWindow& window)
{
    window.action(OrvBrowserWindow::SelectAllCommand)->trigger();
    window.action(OrvBrowserWindow::ExportCommand)->trigger();
    window.action(OrvBrowserWindow::AboutCommand)->trigger();
    const std::unique_ptr<QProgressDialog> progress(window.exporter()->makeProgressDialog(OrvExportController::Export, 1, 3));
    QStringList texts = labels(window);
    window.exporter()->dialog()->reject();
    for (QMessageBox* box : window.findChildren<QMessageBox*>())
        box->close();
    return texts;
}

} // namespace

TEST(BrowserCommands, LabelsInOneLanguage)
{
    const QList<QPair<QString, QString>> pairs = catalogue();
    ASSERT_GT(pairs.size(), 40);
    QSet<QString> german;
    QSet<QString> english;
    QSet<QString> translations;
    for (const auto& [source, translation] : pairs) {
        EXPECT_FALSE(translation.isEmpty()) << source.toStdString();
        translations.insert(translation);
        // Texts alike in both languages tell nothing.
        if (source != translation) {
            german.insert(source);
            english.insert(translation);
        }
    }

    // German, the texts' own language: nothing English shows.
    {
        OrvBrowserWindow window({iphoto()});
        openActive(window, QStringLiteral("Holiday"));
        const QStringList texts = labelsWithDialogs(window);
        EXPECT_TRUE(texts.contains(QStringLiteral("&Datei")));
        EXPECT_TRUE(texts.contains(QStringLiteral("Ordner:")));
        for (const QString& text : texts)
            EXPECT_FALSE(english.contains(text)) << "English in the German window: " << text.toStdString();
    }

    // English through the catalogue: nothing German shows, and every command and dialog label is translated.
    EXPECT_FALSE(OrvBrowserTranslator().loadLanguage(QStringLiteral("de"))) << "German needs no catalogue";
    EXPECT_FALSE(OrvBrowserTranslator().loadLanguage(QStringLiteral("xx")));
    OrvBrowserTranslator translator;
    ASSERT_TRUE(translator.loadLanguage(QStringLiteral("en")));
    QCoreApplication::installTranslator(&translator);
    {
        OrvBrowserWindow window({iphoto()});
        openActive(window, QStringLiteral("Holiday"));
        EXPECT_TRUE(window.statusText().contains(QStringLiteral("30 photos"))) << window.statusText().toStdString();
        EXPECT_EQ(window.windowTitle(), QStringLiteral("Holiday – iPhoto"));
        const QStringList texts = labelsWithDialogs(window);
        EXPECT_TRUE(texts.contains(QStringLiteral("&File")));
        EXPECT_TRUE(texts.contains(QStringLiteral("Export 30 Photos")));
        EXPECT_TRUE(texts.contains(QStringLiteral("Exported 1 of 3 photos…")));
        for (const QString& text : texts)
            EXPECT_FALSE(german.contains(text)) << "German in the English window: " << text.toStdString();
        for (const QAction* action : window.findChildren<QAction*>()) {
            if (!action->text().isEmpty()) {
                EXPECT_TRUE(translations.contains(action->text())) << "not in the catalogue: " << action->text().toStdString();
            }
        }
        window.selectFotos({iphotoFoto(1)});
        ASSERT_TRUE(OrvTest::waitFor([&] { return window.detailsView()->hasMetaData() && window.detailsView()->hasFullImage(); }, 20000));
        const QString info = window.detailsView()->infoText();
        EXPECT_TRUE(info.contains(QStringLiteral("Taken: ")) && info.contains(QStringLiteral("Size: 640 × 480 pixels"))
                    && info.contains(QStringLiteral("Faces: Ann")))
            << info.toStdString();
    }
    QCoreApplication::removeTranslator(&translator);
}

TEST(BrowserCommands, ClosingTheWindowDuringAnExportEndsIt)
{
    GatedSource source;
    QTemporaryDir out;
    std::thread opener;
    {
        OrvBrowserWindow window({&source});
        window.show();
        window.openSource(&source);
        const OrvExternalId album = source.addAlbum(QStringLiteral("Closing"), {"c1", "c2", "c3"});
        ASSERT_TRUE(OrvTest::waitFor([&] { return window.openAlbum(&source, album); }));
        window.action(OrvBrowserWindow::SelectAllCommand)->trigger();
        source.gatedSize = QSize(40, 40);
        source.setOpen(false);
        window.exportSelection(out.path(), OrvFotoExporter::Options{false, 40, OrvMediaFormat(OrvMediaFormat::Png)});
        ASSERT_TRUE(OrvTest::waitFor([&] { return source.waiting() == 1; }, 20000));
        // The window goes while the first foto is on its way: once the job is told to stop, the foto gets through.
        const OrvExportJob* job = window.exporter()->job();
        ASSERT_TRUE(job);
        opener = std::thread([job, &source] {
            while (!job->isCancelled())
                std::this_thread::yield();
            source.setOpen(true);
        });
    }
    opener.join();
    // The job was cancelled and waited for: the foto on its way is written, no other is begun.
    EXPECT_EQ(QDir(out.path()).entryList(QDir::Files), QStringList{"c1.png"});
}
