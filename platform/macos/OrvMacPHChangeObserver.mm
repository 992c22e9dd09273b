#include "OrvMacPHChangeObserver.h"

#include "OrvMacFoundation.h"
#include "OrvMacPHChange.h"

@implementation OrvMacPHChangeObserver {
    std::weak_ptr<OrvPhotoKit::PhotoLibraryChangeObserver> myObserver;
}

- (instancetype)initWithObserver:(std::weak_ptr<OrvPhotoKit::PhotoLibraryChangeObserver>)observer
{
    self = [super init];
    if (self)
        myObserver = std::move(observer);
    return self;
}

- (void)photoLibraryDidChange:(PHChange*)changeInstance
{
    const std::weak_ptr<OrvPhotoKit::PhotoLibraryChangeObserver> observer = myObserver;
    PHChange* change = changeInstance;
    // The interface's observers hear of changes off the main thread, as PhotoKit tells them.
    OrvMacFoundation::offMainThread(^{
        if (const auto locked = observer.lock())
            locked->photoLibraryDidChange(std::make_shared<OrvMacPHChange>(change));
    });
}

@end
