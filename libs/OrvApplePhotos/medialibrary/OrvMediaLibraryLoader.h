#pragma once

#include "OrvExternalId.h"
#include "OrvMediaLibrary.h"

#include <QHash>
#include <QSet>
#include <QUrl>

#include <memory>
#include <mutex>

class OrvApplePhotosDatabase;

// The platform side of the MediaLibrary source: observes the library's media
// sources, mirrors the Photos source's groups as albums and loads a group's
// media objects when the host opens its album. Notifications arrive on the
// framework's thread (and, for the initial values, inside the calls that
// start observing); one recursive lock guards the state, as the host calls
// fetchMore and the retrievers ask for URLs on threads of their own.
class OrvMediaLibraryLoader : public OrvMediaLibrary::KeyValueObserver,
                              public std::enable_shared_from_this<OrvMediaLibraryLoader>
{
public:
    static constexpr const char* frameworkPath = "/System/Library/Frameworks/MediaLibrary.framework/MediaLibrary";
    static constexpr const char* photosSourceIdentifier = "com.apple.Photos";
    // Empty media sources are reported this often before the loader gives up.
    static constexpr int maxEmptyReports = 100;

    static std::shared_ptr<OrvMediaLibraryLoader> initWithDatabase(OrvApplePhotosDatabase* database);
    ~OrvMediaLibraryLoader() override;
    OrvMediaLibraryLoader(const OrvMediaLibraryLoader&) = delete;
    OrvMediaLibraryLoader& operator=(const OrvMediaLibraryLoader&) = delete;

    // The database is going away: nothing is reported to it any more.
    void detach();

    void startObserving();
    void observeValueForKeyPath(const QString& keyPath, const OrvMediaLibrary::ObjectPtr& object,
                                const OrvMediaLibrary::KeyValueChange& change, const void* context) override;
    void traverse(const OrvMediaLibrary::MediaGroupPtr& group);
    void collect(const OrvMediaLibrary::MediaGroupPtr& group);
    // The album of the group, announced first (parents before it) when new; its URL string.
    QString findOrCreateAlbum(const OrvMediaLibrary::MediaGroupPtr& group);
    void fetchMore(const QUrl& url);
    OrvMediaLibrary::URL urlForMediaObject(const QString& identifier) const;

    // Ids of this source: the identifier percent-encoded.
    static OrvExternalId albumIdForGroup(const QString& identifier);
    static OrvExternalId fotoIdForObject(const QString& identifier);

    // Whether the loader still observes the library's media sources.
    bool isObservingMediaSources() const;
    // Whether it is still announcing: the album tree until the first root group
    // is walked, then the media objects of albums asked for until they came.
    bool isAnnouncing() const;
    int observedGroupCount() const;

private:
    explicit OrvMediaLibraryLoader(OrvApplePhotosDatabase* database);

    void mediaSourcesChanged();
    void rootGroupChanged(const OrvMediaLibrary::MediaSourcePtr& source);
    void traverse(const OrvMediaLibrary::MediaGroupPtr& group, QSet<const OrvMediaLibrary::MediaGroup*>& walked);
    OrvExternalId findOrCreateAlbum(const OrvMediaLibrary::MediaGroupPtr& group, QSet<QString>& climbing);
    void stopObservingGroups();
    OrvMediaLibrary::MediaSourcePtr currentSource() const;

    // A standard lock rather than Qt's: ThreadSanitizer understands it.
    mutable std::recursive_mutex myMutex;
    OrvApplePhotosDatabase* myDatabase;
    OrvMediaLibrary::MediaLibraryPtr myMLMediaLibrary;
    bool myObservingMediaSources = false;
    int myErrorCount = 0;
    // Leaf groups whose media objects are observed, by identity.
    QHash<const OrvMediaLibrary::MediaGroup*, OrvMediaLibrary::MediaGroupPtr> myObservedGroups;
    // Observed groups whose media objects were asked for and have not come yet.
    QSet<const OrvMediaLibrary::MediaGroup*> myAskedGroups;
    bool myTreeWalked = false;
    QHash<QString, OrvMediaLibrary::MediaSourcePtr> myKeySourceDict;
    // Album URL (fully encoded) to group identifier, for albums whose content was not fetched yet.
    QHash<QString, QString> myUrlGroupDict;
    QString myMediaSourceIdentifier;
    QString myMLPhotosAllPhotosAlbumTypeIdentifier;
};
