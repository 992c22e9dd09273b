// An export on several threads: fotos are named in their order whichever of
// them is fetched first, never twice the same name, and a cancel lets the
// fotos being fetched finish and begins no other.

#include "BrowserTestSupport.h"
#include "OrvExportJob.h"
#include "OrvExternalFotoImplData.h"
#include "OrvFotoRetriever.h"
#include "TestSupport.h"

#include <gtest/gtest.h>

#include <QDir>
#include <QFile>
#include <QSignalSpy>
#include <QTemporaryDir>

using namespace BrowserTest;

namespace {

// count fotos that are all called "same.jpg".
QList<OrvExportJob::Item> sameNamed(GatedSource& source, int count)
{
    QList<OrvExportJob::Item> items;
    for (int i = 0; i < count; ++i) {
        const OrvExternalId id = source.foto(QStringLiteral("f%1").arg(i));
        const OrvExternalFoto foto(new OrvExternalFotoImplDataWebService(
            id, QStringLiteral("same.jpg"), OrvMediaFormat(OrvMediaFormat::Jpeg), QDateTime(), QSize(40, 30)));
        items.append({foto, std::shared_ptr<OrvFotoRetrieverInterface>(source.createRetrieverInterface(id))});
    }
    return items;
}

OrvFotoExporter::Options small()
{
    OrvFotoExporter::Options options;
    options.edge = 40;
    options.format = OrvMediaFormat(OrvMediaFormat::Jpeg);
    return options;
}

} // namespace

TEST(ExportJob, NamesFollowTheFotosOrderWhicheverIsFetchedFirst)
{
    GatedSource source;
    QTemporaryDir out;
    QFile taken(out.filePath(QStringLiteral("same.jpg")));
    ASSERT_TRUE(taken.open(QIODevice::WriteOnly));
    taken.close();
    source.setOpen(false);
    OrvExportJob job(out.path(), small(), sameNamed(source, 12), nullptr, 4);
    QSignalSpy finished(&job, &OrvExportJob::finished);
    job.start();
    // Each thread holds a foto at the gate; they go through one at a time, in no particular order.
    for (int passed = 0; passed < 12; ++passed) {
        ASSERT_TRUE(OrvTest::waitFor([&] { return source.waiting() == qMin(4, 12 - passed); }, 20000)) << passed;
        source.permit(1);
    }
    ASSERT_TRUE(OrvTest::waitFor([&] { return !finished.isEmpty(); }, 20000));
    EXPECT_EQ(job.written(), 12);
    QStringList expected;
    for (int n = 2; n <= 13; ++n)
        expected.append(QStringLiteral("same-%1.jpg").arg(n));
    EXPECT_EQ(job.writtenNames(), expected);
    EXPECT_EQ(QDir(out.path()).entryList(QDir::Files | QDir::Hidden).size(), 13);
}

TEST(ExportJob, CancelFinishesTheFotosOnTheirWayAndBeginsNoOther)
{
    GatedSource source;
    QTemporaryDir out;
    source.setOpen(false);
    OrvExportJob job(out.path(), small(), sameNamed(source, 10), nullptr, 3);
    QSignalSpy finished(&job, &OrvExportJob::finished);
    job.start();
    ASSERT_TRUE(OrvTest::waitFor([&] { return source.waiting() == 3; }, 20000));
    job.cancel();
    source.setOpen(true);
    ASSERT_TRUE(OrvTest::waitFor([&] { return !finished.isEmpty(); }, 20000));
    EXPECT_EQ(job.written(), 3);
    EXPECT_TRUE(finished.first().at(2).toBool());
    EXPECT_EQ(job.writtenNames(), (QStringList{"same.jpg", "same-2.jpg", "same-3.jpg"}));
    EXPECT_EQ(QDir(out.path()).entryList(QDir::Files | QDir::Hidden).size(), 3);
}
