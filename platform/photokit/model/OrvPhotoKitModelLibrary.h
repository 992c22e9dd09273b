#pragma once

// A PHPhotoLibrary over a library model (OrvPhotoKitModelState.h): fetches
// evaluate their query on the version of the library published last, and every
// published version is one change, which the observers hear of on the
// library's own queue thread (never the main thread). Authorization answers
// arrive on that queue too. A backend derives from it, builds versions of the
// model and publishes them; how it finds resources and images is its own.

#include "OrvPhotoKit.h"
#include "OrvPhotoKitModelFetchResult.h"
#include "OrvSerialQueue.h"

#include <QSet>
#include <QString>

#include <atomic>
#include <mutex>

namespace OrvPhotoKitModel {

struct State;

class ModelLibrary : public OrvPhotoKit::PhotoLibrary
{
public:
    ~ModelLibrary() override;

    // Authorization: the status now, and what the user answers when asked.
    void setAuthorizationStatus(OrvPhotoKit::AuthorizationStatus status);
    void setAuthorizationAnswer(OrvPhotoKit::AuthorizationStatus answer);
    int authorizationRequestCount() const { return myRequests.load(); }

    // Waits until the queue has delivered everything posted so far.
    void waitForQueue() { myQueue.waitIdle(); }
    bool isQueueThread() const { return myQueue.isCurrentThread(); }
    // The version of the library that fetches see now.
    std::shared_ptr<const State> state() const;

    // OrvPhotoKit::PhotoLibrary
    OrvPhotoKit::AuthorizationStatus authorizationStatus() const override;
    void requestAuthorization(std::function<void(OrvPhotoKit::AuthorizationStatus)> handler) override;
    void registerChangeObserver(const std::weak_ptr<OrvPhotoKit::PhotoLibraryChangeObserver>& observer) override;
    void unregisterChangeObserver(const OrvPhotoKit::PhotoLibraryChangeObserver* observer) override;
    OrvPhotoKit::FetchResultPtr fetchAssetsWithOptions(const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchAssetsWithLocalIdentifiers(const QStringList& identifiers,
                                                                const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchAssetsInAssetCollection(const OrvPhotoKit::AssetCollectionPtr& collection,
                                                             const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchAssetCollectionsWithType(OrvPhotoKit::AssetCollectionType type,
                                                              OrvPhotoKit::AssetCollectionSubtype subtype,
                                                              const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchAssetCollectionsWithLocalIdentifiers(const QStringList& identifiers,
                                                                          const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchCollectionListsWithType(OrvPhotoKit::CollectionListType type,
                                                             OrvPhotoKit::CollectionListSubtype subtype,
                                                             const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchCollectionListsContainingCollection(const OrvPhotoKit::CollectionPtr& collection,
                                                                         const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchCollectionsInCollectionList(const OrvPhotoKit::CollectionListPtr& list,
                                                                 const OrvPhotoKit::FetchOptions* options) override;
    OrvPhotoKit::FetchResultPtr fetchTopLevelUserCollectionsWithOptions(const OrvPhotoKit::FetchOptions* options) override;

protected:
    ModelLibrary(OrvPhotoKit::AuthorizationStatus status, OrvPhotoKit::AuthorizationStatus answer);

    // Makes after the version that fetches see; the observers registered now
    // hear of it as one change. Without incremental details their change
    // details only say "reload" (as PhotoKit does for large changes).
    // touchedAssets, when given, are the local identifiers of every asset added,
    // changed or removed since the last version: then the change follows
    // selections of assets at the cost of what it touched.
    void publish(std::shared_ptr<State> after, bool incremental, const QSet<QString>* touchedAssets = nullptr);
    // Runs task on the library's queue thread.
    void post(std::function<void()> task) { myQueue.post(std::move(task)); }

private:
    using Query = std::function<std::vector<OrvPhotoKit::ObjectPtr>(const State&)>;
    OrvPhotoKit::FetchResultPtr fetch(Query query, std::optional<Selection> selection = std::nullopt);

    mutable std::mutex myMutex;
    std::shared_ptr<const State> myState;
    quint64 myVersion = 0;
    std::vector<std::weak_ptr<OrvPhotoKit::PhotoLibraryChangeObserver>> myObservers;
    std::atomic<int> myStatus;
    std::atomic<int> myAnswer;
    std::atomic<int> myRequests{0};
    OrvSerialQueue myQueue;
};

} // namespace OrvPhotoKitModel
