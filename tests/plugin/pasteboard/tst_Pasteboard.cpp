#include "OrvMacPasteboardMimePhotosAsset.h"
#include "OrvMimeConverterRegistry.h"
#include "OrvPhotoKitDatabase.h"

#include <gtest/gtest.h>

#include <QDataStream>
#include <QMimeData>

#include <plist/plist.h>

#include <cstdlib>

namespace {

// A property list as Photos puts it on the pasteboard, in XML or binary form.
QByteArray assetItem(const char* localIdentifier, bool binary, const char* key = "localIdentifier")
{
    plist_t dict = plist_new_dict();
    plist_dict_set_item(dict, key, plist_new_string(localIdentifier));
    plist_dict_set_item(dict, "mediaType", plist_new_string("photo"));
    char* data = nullptr;
    uint32_t length = 0;
    if (binary)
        plist_to_bin(dict, &data, &length);
    else
        plist_to_xml(dict, &data, &length);
    const QByteArray bytes(data, qsizetype(length));
    std::free(data);
    plist_free(dict);
    return bytes;
}

QList<QUrl> urlsOf(const QVariant& payload)
{
    QByteArray bytes = payload.toByteArray();
    QDataStream stream(&bytes, QIODevice::ReadOnly);
    QList<QUrl> urls;
    stream >> urls;
    EXPECT_EQ(stream.status(), QDataStream::Ok);
    return urls;
}

QStringList warnings;
void recordWarning(QtMsgType type, const QMessageLogContext&, const QString& message)
{
    if (type == QtWarningMsg)
        warnings.append(message);
}

const QString flavor = QStringLiteral("com.apple.photos.object-reference.asset");
const QString mime = QStringLiteral("text/x-orv-phasset");

} // namespace

TEST(PhotosAssetConverter, NamesItsTypesBothWays)
{
    const OrvMacPasteboardMimePhotosAsset converter;
    EXPECT_EQ(converter.convertorName(), QStringLiteral("Apple Photos Asset"));
    EXPECT_EQ(converter.utiForMime(mime), flavor);
    EXPECT_EQ(converter.utiForMime(QStringLiteral("text/plain")), QString());
    EXPECT_EQ(converter.mimeForUti(flavor), mime);
    EXPECT_EQ(converter.mimeForUti(QStringLiteral("public.jpeg")), QString());
    EXPECT_TRUE(converter.canConvert(mime, flavor));
    EXPECT_FALSE(converter.canConvert(mime, QStringLiteral("public.url")));
    EXPECT_FALSE(converter.canConvert(QStringLiteral("text/uri-list"), flavor));
    // The other way the data passes through as Latin-1.
    EXPECT_EQ(converter.convertFromMime(mime, QStringLiteral("abc"), flavor), QList<QByteArray>{"abc"});
    EXPECT_TRUE(converter.convertFromMime(mime, QStringLiteral("abc"), QStringLiteral("public.text")).isEmpty());
}

TEST(PhotosAssetConverter, ItemsBecomePhotoUrlsInPasteboardOrder)
{
    const OrvMacPasteboardMimePhotosAsset converter;
    const QVariant payload = converter.convertToMime(
        mime, {assetItem("B2/L0/001", true), assetItem("A1/L0/001", false), assetItem("C3 ü/L0/001", true)}, flavor);
    const QList<QUrl> urls = urlsOf(payload);
    ASSERT_EQ(urls.size(), 3);
    EXPECT_EQ(urls[0].toString(), QStringLiteral("photokit:foto#B2_2FL0_2F001"));
    EXPECT_EQ(urls[1].toString(), QStringLiteral("photokit:foto#A1_2FL0_2F001"));
    EXPECT_EQ(urls[2].scheme(), QStringLiteral("photokit"));
    EXPECT_EQ(urls[2].path(), QStringLiteral("foto"));
    EXPECT_EQ(OrvPhotoKitDatabase::toLocalIdentifier(urls[2].fragment()), QStringLiteral("C3 ü/L0/001"));
    // An empty drop is an empty list, not nothing.
    const QVariant none = converter.convertToMime(mime, {}, flavor);
    ASSERT_TRUE(none.isValid());
    EXPECT_TRUE(urlsOf(none).isEmpty());
}

TEST(PhotosAssetConverter, ItemsWithoutAnIdentifierStillGiveAUrl)
{
    const OrvMacPasteboardMimePhotosAsset converter;
    plist_t array = plist_new_array();
    char* xml = nullptr;
    uint32_t length = 0;
    plist_to_xml(array, &xml, &length);
    const QByteArray notADictionary(xml, qsizetype(length));
    std::free(xml);
    plist_free(array);
    const QList<QByteArray> items = {assetItem("X/L0/001", false, "uuid"), QByteArray("not a property list"), QByteArray(),
                                     notADictionary, assetItem("X/L0/001", true).left(20), QByteArray("bplist00\xff\xff", 10)};
    const QList<QUrl> urls = urlsOf(converter.convertToMime(mime, items, flavor));
    ASSERT_EQ(urls.size(), items.size());
    for (const QUrl& url : urls) {
        EXPECT_EQ(url.scheme(), QStringLiteral("photokit"));
        EXPECT_EQ(url.path(), QStringLiteral("foto"));
        EXPECT_TRUE(url.fragment().isEmpty());
    }
}

TEST(PhotosAssetConverter, AnIdentifierWithANulInsideIsNone)
{
    // Binary property lists carry strings by length; libplist aborts copying one with a NUL inside,
    // and reports it only up to the NUL, where it would name another photo.
    const QByteArray identifier("A1B2C3D4-0004/L0/001\0../../etc/passwd", 37);
    QByteArray item = assetItem(QByteArray(identifier.size(), 'x').constData(), true);
    ASSERT_TRUE(item.contains(QByteArray(identifier.size(), 'x')));
    item.replace(QByteArray(identifier.size(), 'x'), identifier);
    EXPECT_EQ(OrvMacPasteboardMimePhotosAsset::localIdentifierOf(item), QString());
    const QList<QUrl> urls = urlsOf(OrvMacPasteboardMimePhotosAsset().convertToMime(mime, {item}, flavor));
    ASSERT_EQ(urls.size(), 1);
    EXPECT_TRUE(urls[0].fragment().isEmpty());
}

TEST(PhotosAssetConverter, AnotherTypeGivesTheWarningAndNothing)
{
    const OrvMacPasteboardMimePhotosAsset converter;
    warnings.clear();
    const QtMessageHandler previous = qInstallMessageHandler(recordWarning);
    const QVariant result = converter.convertToMime(QStringLiteral("text/x-other"), {assetItem("A/L0/001", false)},
                                                    QStringLiteral("public.file-url"));
    qInstallMessageHandler(previous);
    EXPECT_FALSE(result.isValid());
    EXPECT_EQ(warnings, QStringList{QStringLiteral("QMime::convertToMime: unhandled mimetype: text/x-other")});
}

TEST(MimeConverterRegistry, ADropAsksTheRegisteredConverters)
{
    OrvMimeConverterRegistry* registry = OrvSingleton<OrvMimeConverterRegistry>::instance();
    const QList<OrvPasteboardItem> items = {{{flavor, assetItem("A/L0/001", false)}, {QStringLiteral("public.utf8-plain-text"), "x"}},
                                            {{flavor, assetItem("B/L0/001", true)}}};
    {
        const OrvMacPasteboardMimePhotosAsset converter;
        EXPECT_TRUE(registry->converters().contains(const_cast<OrvMacPasteboardMimePhotosAsset*>(&converter)));
        const std::unique_ptr<QMimeData> dropped = registry->mimeDataForPasteboard(items);
        ASSERT_TRUE(dropped->hasFormat(mime));
        const QList<QUrl> urls = urlsOf(dropped->data(mime));
        ASSERT_EQ(urls.size(), 2);
        EXPECT_EQ(urls[1].fragment(), QStringLiteral("B_2FL0_2F001"));
        EXPECT_FALSE(dropped->hasFormat(QStringLiteral("text/plain")));
    }
    // Gone with its converter.
    EXPECT_FALSE(registry->mimeDataForPasteboard(items)->hasFormat(mime));
}
