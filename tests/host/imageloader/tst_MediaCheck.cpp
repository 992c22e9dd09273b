#include "LoaderTestHelpers.h"
#include "OrvMediaCheck.h"
#include "OrvUserFile.h"

#include <gtest/gtest.h>

#include <QFile>
#include <QTemporaryDir>

#include <fcntl.h>
#include <unistd.h>

using namespace OrvTest;

namespace {

using F = OrvMediaFormat;

class MediaCheckTest : public ::testing::Test
{
protected:
    OrvMediaCheck::Verdict check(const QString& name, const QByteArray& bytes, OrvMediaFormat* found = nullptr)
    {
        const QString path = myDir.filePath(name);
        EXPECT_TRUE(writeFile(path, bytes));
        return OrvMediaCheck::check(path, F(QFileInfo(name)), found);
    }

    QTemporaryDir myDir;
};

QByteArray padded(const QByteArray& head) { return head + QByteArray(64, '\x01'); }

} // namespace

TEST(MediaCheckFormat, TheBytesSayTheKindWhateverTheName)
{
    const QImage image(40, 30, QImage::Format_RGB32);
    EXPECT_EQ(OrvMediaCheck::formatOf(makeJpeg(40, 30)), F(F::Jpeg));
    EXPECT_EQ(OrvMediaCheck::formatOf(encodeImage(image, "png")), F(F::Png));
    EXPECT_EQ(OrvMediaCheck::formatOf(encodeImage(image, "bmp")), F(F::Bmp));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded("GIF89a")), F(F::Gif));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded(QByteArray("II*\0", 4))), F(F::Tiff));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded(QByteArray("MM\0*", 4))), F(F::Tiff));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded(QByteArray("RIFF\x10\0\0\0WEBPVP8 ", 16))), F(F::Webp));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded("8BPS")), F(F::Psd));
    // ISO media files by their brand; QuickTime's older files by their first atom.
    EXPECT_EQ(OrvMediaCheck::formatOf(padded(QByteArray("\0\0\0\x18" "ftypheic", 12))), F(F::Heic));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded(QByteArray("\0\0\0\x18" "ftypmif1", 12))), F(F::Heic));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded(QByteArray("\0\0\0\x18" "ftypcrx ", 12))), F(F::Raw));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded(QByteArray("\0\0\0\x14" "ftypqt  ", 12))), F(F::Mov));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded(QByteArray("\0\0\0\x20" "ftypisom", 12))), F(F::Mp4));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded(QByteArray("\0\0\0\x08" "wide", 8))), F(F::Mov));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded("FUJIFILMCCD-RAW 0201")), F(F::Raw));
    EXPECT_EQ(OrvMediaCheck::formatOf(padded("IIRO")), F(F::Raw));
    // Nothing known: text, zeros, a lone "BM" of a word, nothing at all.
    for (const QByteArray& none : {QByteArray("Hello, this is no photo at all.\n"), QByteArray(32, '\0'),
                                   QByteArray("BMW 320d, first registered 2003"), QByteArray()})
        EXPECT_FALSE(OrvMediaCheck::formatOf(none).isValid()) << none.constData();
}

TEST_F(MediaCheckTest, AWholeImageOfTheKindItsNameSaysAndNothingElse)
{
    const QByteArray jpeg = makeJpeg(300, 200);
    const QByteArray png = encodeImage(QImage(30, 20, QImage::Format_RGB32), "png");
    EXPECT_EQ(check(QStringLiteral("IMG_0001.JPG"), jpeg), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("scan.png"), png), OrvMediaCheck::Whole);
    // Behind a JPEG's end may come anything (a phone's motion photo).
    EXPECT_EQ(check(QStringLiteral("motion.jpg"), jpeg + QByteArray("\0\0\0\x18" "ftypmp42", 12) + QByteArray(5000, 'v')),
              OrvMediaCheck::Whole);

    F found;
    EXPECT_EQ(check(QStringLiteral("LIAR.jpg"), png, &found), OrvMediaCheck::OtherKind);
    EXPECT_EQ(found, F(F::Png));
    EXPECT_EQ(OrvMediaCheck::describe(OrvMediaCheck::OtherKind, F(F::Jpeg), found),
              QStringLiteral("not a whole JPEG image: it holds a PNG file"));
    EXPECT_EQ(check(QStringLiteral("jpeg.png"), jpeg), OrvMediaCheck::OtherKind);
    EXPECT_EQ(check(QStringLiteral("ZERO.JPG"), QByteArray()), OrvMediaCheck::Empty);
    EXPECT_EQ(check(QStringLiteral("TEXT.JPG"), "a JPEG, honestly\n"), OrvMediaCheck::OtherKind);
    EXPECT_EQ(check(QStringLiteral("cut.jpg"), jpeg.left(jpeg.size() - 40)), OrvMediaCheck::CutOff);
    EXPECT_EQ(check(QStringLiteral("cut.png"), png.left(png.size() - 12)), OrvMediaCheck::CutOff);
    // A header that is no image: a PNG without its header chunk, a JPEG of nothing but markers.
    QByteArray headless = png;
    headless.replace(12, 4, "XXXX");
    EXPECT_EQ(check(QStringLiteral("headless.png"), headless), OrvMediaCheck::OtherKind);
    EXPECT_EQ(check(QStringLiteral("markers.jpg"), QByteArray("\xFF\xD8\xFF\xD9", 4)), OrvMediaCheck::OtherKind);
}

TEST_F(MediaCheckTest, BombsAreRefusedFromTheirHeaderARealBigPhotoIsNot)
{
    EXPECT_EQ(check(QStringLiteral("bomb.png"), pngDeclaring(60000, 60000)), OrvMediaCheck::TooManyPixels);
    EXPECT_EQ(check(QStringLiteral("bomb.jpg"), jpegDeclaring(60000, 60000)), OrvMediaCheck::TooManyPixels);
    // 108 and 400 megapixels declared: photos a customer prints.
    EXPECT_EQ(check(QStringLiteral("big.jpg"), jpegDeclaring(12000, 9000)), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("pano.jpg"), jpegDeclaring(40000, 10000)), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("above.jpg"), jpegDeclaring(40000, 10001)), OrvMediaCheck::TooManyPixels);
    EXPECT_EQ(check(QStringLiteral("big.png"), pngDeclaring(12000, 9000)), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("empty.png"), pngDeclaring(0, 9000)), OrvMediaCheck::OtherKind);
}

TEST_F(MediaCheckTest, MoviesRawAndUnknownNamesGoByTheirSignature)
{
    const QByteArray quickTime = QByteArray("\0\0\0\x14" "ftypqt  ", 12) + QByteArray(4000, 'm');
    const QByteArray mpeg4 = QByteArray("\0\0\0\x20" "ftypisom", 12) + QByteArray(4000, 'm');
    EXPECT_EQ(check(QStringLiteral("IMG_0002.MOV"), quickTime), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("IMG_0003.MOV"), mpeg4), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("clip.mp4"), quickTime), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("TEXT.MOV"), QByteArray(5000, 'm')), OrvMediaCheck::OtherKind);
    EXPECT_EQ(check(QStringLiteral("still.heic"), mpeg4), OrvMediaCheck::OtherKind);

    // Raw: TIFF-based, of its own signature, or one not known here; never another known kind.
    EXPECT_EQ(check(QStringLiteral("IMG_0004.CR2"), padded(QByteArray("II*\0\x10\0\0\0CR", 10))), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("DSCF0005.RAF"), padded("FUJIFILMCCD-RAW 0201")), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("IMG_0006.IIQ"), padded(QByteArray("IIII\x01\0\0\0", 8))), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("DSC_0007.NEF"), makeJpeg(40, 30)), OrvMediaCheck::OtherKind);
    EXPECT_EQ(check(QStringLiteral("DSC_0008.NEF"), QByteArray()), OrvMediaCheck::Empty);

    // A name without a known suffix takes any known kind, and nothing else.
    EXPECT_EQ(check(QStringLiteral("IMG_0009"), makeJpeg(40, 30)), OrvMediaCheck::Whole);
    EXPECT_EQ(check(QStringLiteral("notes.txt"), "shopping list\n"), OrvMediaCheck::OtherKind);
}

TEST_F(MediaCheckTest, GigabytesOfZerosPipesAndDevicesAreToldAtOnce)
{
    // Sparse: three gigabytes named as a photo cost no disk.
    const QString big = myDir.filePath(QStringLiteral("BIG.JPG"));
    const int fd = ::open(QFile::encodeName(big).constData(), O_WRONLY | O_CREAT | O_EXCL, 0644);
    ASSERT_GE(fd, 0);
    ASSERT_EQ(::ftruncate(fd, off_t(3) << 30), 0);
    ::close(fd);
    EXPECT_EQ(OrvMediaCheck::check(big, F(F::Jpeg)), OrvMediaCheck::OtherKind);
    // No regular file: refused before anything is read, the open never waiting.
    EXPECT_EQ(OrvMediaCheck::check(QStringLiteral("/dev/zero"), F(F::Jpeg)), OrvMediaCheck::Unreadable);
    const QString fifo = myDir.filePath(QStringLiteral("FIFO.JPG"));
    ASSERT_TRUE(makeFifo(fifo));
    EXPECT_EQ(OrvMediaCheck::check(fifo, F(F::Jpeg)), OrvMediaCheck::Unreadable);

    // As OrvTargetFolder asks: the name says the kind, why says what is wrong.
    const QString named = myDir.filePath(QStringLiteral("named.bin"));
    ASSERT_TRUE(writeFile(named, encodeImage(QImage(8, 8, QImage::Format_RGB32), "png")));
    OrvUserFile file(named, OrvUserFile::Media);
    ASSERT_TRUE(file.open());
    QString why;
    QString name = QStringLiteral("IMG_0001.JPG");
    EXPECT_FALSE(OrvMediaCheck::isWholeAsNamed(&file, &name, &why));
    EXPECT_EQ(why, QStringLiteral("not a whole JPEG image: it holds a PNG file"));
    name = QStringLiteral("IMG_0001.png");
    EXPECT_TRUE(OrvMediaCheck::isWholeAsNamed(&file, &name, &why));
    EXPECT_EQ(name, QStringLiteral("IMG_0001.png"));
}
