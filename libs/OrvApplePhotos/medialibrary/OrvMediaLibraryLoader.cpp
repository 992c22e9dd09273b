#include "OrvMediaLibraryLoader.h"

#include "OrvApplePhotosDatabase.h"
#include "OrvPlatformIndependent.h"

using namespace OrvMediaLibrary;

namespace {

const QString serviceId = QStringLiteral("applephotos");
const QString typeAlbum = QStringLiteral("album");
const QString typeFoto = QStringLiteral("foto");
const QString mediaSourcesKey = QStringLiteral("mediaSources");
const QString rootMediaGroupKey = QStringLiteral("rootMediaGroup");
const QString mediaObjectsKey = QStringLiteral("mediaObjects");

// Observation contexts: their addresses tell the notifications apart.
const char mediaSourcesContext = 0;
const char rootGroupContext = 0;
const char mediaObjectsContext = 0;

// Every album of this source is a regular album for the host.
const OrvExternalAlbumType albumType(OrvExternalAlbumType::Regular);

} // namespace

OrvMediaLibraryLoader::OrvMediaLibraryLoader(OrvApplePhotosDatabase* database) : myDatabase(database) {}

std::shared_ptr<OrvMediaLibraryLoader> OrvMediaLibraryLoader::initWithDatabase(OrvApplePhotosDatabase* database)
{
    return std::shared_ptr<OrvMediaLibraryLoader>(new OrvMediaLibraryLoader(database));
}

OrvMediaLibraryLoader::~OrvMediaLibraryLoader() = default;

void OrvMediaLibraryLoader::detach()
{
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    myDatabase = nullptr;
    if (myMLMediaLibrary && myObservingMediaSources)
        myMLMediaLibrary->removeObserver(this, mediaSourcesKey, &mediaSourcesContext);
    myObservingMediaSources = false;
    for (const MediaSourcePtr& source : std::as_const(myKeySourceDict))
        source->removeObserver(this, rootMediaGroupKey, &rootGroupContext);
    myKeySourceDict.clear();
    stopObservingGroups();
}

OrvExternalId OrvMediaLibraryLoader::albumIdForGroup(const QString& identifier)
{
    return OrvExternalId(serviceId, typeAlbum, QString::fromLatin1(QUrl::toPercentEncoding(identifier)));
}

OrvExternalId OrvMediaLibraryLoader::fotoIdForObject(const QString& identifier)
{
    return OrvExternalId(serviceId, typeFoto, QString::fromLatin1(QUrl::toPercentEncoding(identifier)));
}

bool OrvMediaLibraryLoader::isObservingMediaSources() const
{
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    return myObservingMediaSources;
}

bool OrvMediaLibraryLoader::isAnnouncing() const
{
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    return myObservingMediaSources && (!myTreeWalked || !myAskedGroups.isEmpty());
}

int OrvMediaLibraryLoader::observedGroupCount() const
{
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    return int(myObservedGroups.size());
}

void OrvMediaLibraryLoader::startObserving()
{
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    if (myMLMediaLibrary || !myDatabase)
        return;
    // The framework is loaded for its two constants and let go again.
    std::optional<QString> includeSourcesKey;
    if (const auto framework = loadFramework(QString::fromLatin1(frameworkPath))) {
        includeSourcesKey = framework->stringConstant("MLMediaLoadIncludeSourcesKey");
        myMLPhotosAllPhotosAlbumTypeIdentifier = framework->stringConstant("MLPhotosAllPhotosAlbumTypeIdentifier").value_or(QString());
    }
    // Only the Photos source is loaded.
    QVariantMap options;
    if (includeSourcesKey)
        options.insert(*includeSourcesKey, QStringList{QString::fromLatin1(photosSourceIdentifier)});
    if (!classExists(QStringLiteral("MLMediaLibrary")))
        return;  // no MediaLibrary: the source stays empty
    myMLMediaLibrary = createMediaLibrary(options);
    if (!myMLMediaLibrary)
        return;
    myObservingMediaSources = true;
    myMLMediaLibrary->addObserver(weak_from_this(), mediaSourcesKey,
                                  KeyValueObservingOptionNew | KeyValueObservingOptionInitial, &mediaSourcesContext);
    myMLMediaLibrary->mediaSources();  // starts loading
}

void OrvMediaLibraryLoader::observeValueForKeyPath(const QString&, const ObjectPtr& object, const KeyValueChange& change,
                                                   const void* context)
{
    if (change.kind != KeyValueChangeKind::Setting && change.kind != KeyValueChangeKind::Insertion)
        return;
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    if (!myDatabase)
        return;
    if (context == &mediaSourcesContext)
        mediaSourcesChanged();
    else if (context == &rootGroupContext)
        rootGroupChanged(std::dynamic_pointer_cast<MediaSource>(object));
    else if (context == &mediaObjectsContext)
        collect(std::dynamic_pointer_cast<MediaGroup>(object));
}

void OrvMediaLibraryLoader::mediaSourcesChanged()
{
    if (!myObservingMediaSources)
        return;  // given up while this notification was on its way
    const QMap<QString, MediaSourcePtr> sources = myMLMediaLibrary->mediaSources();
    if (sources.isEmpty()) {
        // Tolerated for a while, then the loader gives up for good.
        if (myErrorCount++ >= maxEmptyReports) {
            myMLMediaLibrary->removeObserver(this, mediaSourcesKey, &mediaSourcesContext);
            myObservingMediaSources = false;
        }
        return;
    }
    for (auto it = sources.cbegin(); it != sources.cend(); ++it) {
        if (const MediaSourcePtr older = myKeySourceDict.take(it.key()))
            older->removeObserver(this, rootMediaGroupKey, &rootGroupContext);
        myKeySourceDict.insert(it.key(), it.value());
        it.value()->addObserver(weak_from_this(), rootMediaGroupKey,
                                KeyValueObservingOptionNew | KeyValueObservingOptionInitial, &rootGroupContext);
        it.value()->rootMediaGroup();  // starts loading
    }
    if (myErrorCount > 0)
        --myErrorCount;
}

void OrvMediaLibraryLoader::rootGroupChanged(const MediaSourcePtr& source)
{
    if (!source)
        return;
    // A new root group: what was observed belongs to the old one.
    stopObservingGroups();
    myMediaSourceIdentifier = source->mediaSourceIdentifier();
    const MediaGroupPtr root = source->rootMediaGroup();
    traverse(root);
    // The first report may come before the group has loaded; the tree is there when the group is.
    if (root)
        myTreeWalked = true;
}

void OrvMediaLibraryLoader::stopObservingGroups()
{
    for (const MediaGroupPtr& group : std::as_const(myObservedGroups))
        group->removeObserver(this, mediaObjectsKey, &mediaObjectsContext);
    myObservedGroups.clear();
    myAskedGroups.clear();
}

void OrvMediaLibraryLoader::traverse(const MediaGroupPtr& group)
{
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    QSet<const MediaGroup*> walked;
    traverse(group, walked);
}

void OrvMediaLibraryLoader::traverse(const MediaGroupPtr& group, QSet<const MediaGroup*>& walked)
{
    if (!group)
        return;
    const QList<MediaGroupPtr> children = group->childGroups();
    if (children.isEmpty()) {
        // A leaf's objects load only when its album is opened.
        if (myObservedGroups.contains(group.get()))
            return;
        myObservedGroups.insert(group.get(), group);
        group->addObserver(weak_from_this(), mediaObjectsKey, KeyValueObservingOptionNew, &mediaObjectsContext);
        return;
    }
    // A broken library may hold a group inside itself: each is walked once.
    if (walked.contains(group.get()))
        return;
    walked.insert(group.get());
    for (const MediaGroupPtr& child : children) {
        // The all-photos album is neither shown nor walked.
        if (typeIdentifiersEqual(child->typeIdentifier(), myMLPhotosAllPhotosAlbumTypeIdentifier))
            continue;
        findOrCreateAlbum(child);
        traverse(child, walked);
    }
}

QString OrvMediaLibraryLoader::findOrCreateAlbum(const MediaGroupPtr& group)
{
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    QSet<QString> climbing;
    return findOrCreateAlbum(group, climbing).toUrl().toString(QUrl::FullyEncoded);
}

OrvExternalId OrvMediaLibraryLoader::findOrCreateAlbum(const MediaGroupPtr& group, QSet<QString>& climbing)
{
    if (!group)
        return {};
    const QString identifier = group->identifier();
    const OrvExternalId id = albumIdForGroup(identifier);
    if (myDatabase && !myDatabase->findAlbum(id).isValid()) {
        OrvExternalAlbum album(id, group->name(), OrvExternalIdList(), albumType);
        // Below the top level the parents come first; a parent chain that
        // comes back to a group it passed is cut there.
        climbing.insert(identifier);
        const MediaGroupPtr parent = group->parent();
        if (parent && parent->parent() && !climbing.contains(parent->identifier()))
            album.setParentAlbum(findOrCreateAlbum(parent, climbing));
        myDatabase->albumAdded(album);
    }
    myUrlGroupDict.insert(id.toUrl().toString(QUrl::FullyEncoded), identifier);
    return id;
}

void OrvMediaLibraryLoader::collect(const MediaGroupPtr& group)
{
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    if (!group || !myDatabase)
        return;
    myAskedGroups.remove(group.get());
    QSet<QString> climbing;
    const OrvExternalAlbum album = myDatabase->findAlbum(findOrCreateAlbum(group, climbing));
    const bool imagesOnly = OrvSingleton<OrvPlatformIndependent>::instance()->imagesOnly();
    const QList<MediaObjectPtr> objects = group->mediaObjects();
    QList<OrvExternalFoto> fotos;
    fotos.reserve(objects.size());
    for (const MediaObjectPtr& object : objects) {
        if (imagesOnly && object->mediaType() != MediaType::Image)
            continue;
        const URL url = object->url();
        const QString path = url ? url->toLocalFile() : QString();
        fotos.append(OrvExternalFoto(std::make_shared<const OrvExternalFotoImplDataLocalDatabase>(
            fotoIdForObject(object->identifier()), object->name(), QDateTime(), path, path, OrvExternalFaceList())));
    }
    if (!fotos.isEmpty())
        myDatabase->fotosInserted(fotos, album.id());
}

void OrvMediaLibraryLoader::fetchMore(const QUrl& url)
{
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    const auto entry = myUrlGroupDict.find(url.toString(QUrl::FullyEncoded));
    if (entry == myUrlGroupDict.end())
        return;
    const MediaSourcePtr source = currentSource();
    const MediaGroupPtr group = source ? source->mediaGroupForIdentifier(*entry) : nullptr;
    if (!group)
        return;
    // Each album is fetched once; the framework reports the objects through the group's observation.
    myUrlGroupDict.erase(entry);
    if (myObservedGroups.contains(group.get()))
        myAskedGroups.insert(group.get());
    group->mediaObjects();
}

URL OrvMediaLibraryLoader::urlForMediaObject(const QString& identifier) const
{
    std::lock_guard<std::recursive_mutex> lock(myMutex);
    const MediaSourcePtr source = currentSource();
    const MediaObjectPtr object = source ? source->mediaObjectForIdentifier(identifier) : nullptr;
    return object ? object->url() : std::nullopt;
}

MediaSourcePtr OrvMediaLibraryLoader::currentSource() const { return myKeySourceDict.value(myMediaSourceIdentifier); }
