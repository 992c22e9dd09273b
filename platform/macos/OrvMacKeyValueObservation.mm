#include "OrvMacKeyValueObservation.h"

#include "OrvMacFoundation.h"

#include <QDebug>

using namespace OrvMediaLibrary;

// The Foundation observer of one registration; its own address is the context
// it registers with, so that removing it removes exactly this registration.
@interface OrvMacKeyValueForwarder : NSObject
- (instancetype)initWithObserver:(std::weak_ptr<KeyValueObserver>)observer
                         context:(const void*)context
                        observed:(std::weak_ptr<OrvMediaLibrary::Object>)observed;
@end

@implementation OrvMacKeyValueForwarder {
    std::weak_ptr<KeyValueObserver> myObserver;
    const void* myContext;
    std::weak_ptr<OrvMediaLibrary::Object> myObserved;
}

- (instancetype)initWithObserver:(std::weak_ptr<KeyValueObserver>)observer
                         context:(const void*)context
                        observed:(std::weak_ptr<OrvMediaLibrary::Object>)observed
{
    self = [super init];
    if (self) {
        myObserver = std::move(observer);
        myContext = context;
        myObserved = std::move(observed);
    }
    return self;
}

- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(void*)context
{
    const auto observer = myObserver.lock();
    const auto observed = myObserved.lock();
    if (!observer || !observed)
        return;
    KeyValueChange kind;
    if (NSNumber* number = [change objectForKey:NSKeyValueChangeKindKey])
        kind.kind = KeyValueChangeKind(int(number.unsignedIntegerValue));
    observer->observeValueForKeyPath(OrvMacFoundation::string(keyPath), observed, kind, myContext);
}

@end

OrvMacKeyValueObservation::~OrvMacKeyValueObservation()
{
    for (const Registration& registration : myRegistrations)
        unregister(myObserved, registration);
}

void OrvMacKeyValueObservation::add(const std::weak_ptr<KeyValueObserver>& observer, const QString& keyPath,
                                    KeyValueObservingOptions options, const void* context,
                                    const std::weak_ptr<OrvMediaLibrary::Object>& observed)
{
    const auto locked = observer.lock();
    if (!locked || !myObserved)
        return;
    OrvMacKeyValueForwarder* forwarder = [[OrvMacKeyValueForwarder alloc] initWithObserver:observer
                                                                                  context:context
                                                                                 observed:observed];
    {
        std::lock_guard<std::mutex> lock(myMutex);
        myRegistrations.push_back({locked.get(), keyPath, context, forwarder});
    }
    // Outside the lock: with the initial option the observer hears at once and may call back here.
    // Foundation raises for a key the object does not have: that registration is no registration.
    @try {
        [myObserved addObserver:forwarder
                     forKeyPath:keyPath.toNSString()
                        options:NSKeyValueObservingOptions(options)
                        context:(__bridge void*)forwarder];
    } @catch (NSException* exception) {
        qDebug().noquote() << "MediaLibrary: cannot observe" << keyPath << OrvMacFoundation::string(exception.reason);
        std::lock_guard<std::mutex> lock(myMutex);
        for (auto it = myRegistrations.begin(); it != myRegistrations.end(); ++it) {
            if (it->forwarder == forwarder) {
                myRegistrations.erase(it);
                break;
            }
        }
    }
}

void OrvMacKeyValueObservation::remove(const KeyValueObserver* observer, const QString& keyPath, const void* context)
{
    Registration removed{nullptr, QString(), nullptr, nil};
    {
        std::lock_guard<std::mutex> lock(myMutex);
        for (auto it = myRegistrations.begin(); it != myRegistrations.end(); ++it) {
            if (it->observer == observer && it->keyPath == keyPath && it->context == context) {
                removed = *it;
                myRegistrations.erase(it);
                break;
            }
        }
    }
    if (!removed.forwarder) {
        qDebug() << "MediaLibrary: no observation of" << keyPath << "to remove";
        return;
    }
    unregister(myObserved, removed);
}

void OrvMacKeyValueObservation::unregister(id observed, const Registration& registration)
{
    // Foundation raises for an observer it does not know; the registration is gone either way.
    @try {
        [observed removeObserver:registration.forwarder
                      forKeyPath:registration.keyPath.toNSString()
                         context:(__bridge void*)registration.forwarder];
    } @catch (NSException* exception) {
        qDebug().noquote() << "MediaLibrary: observation already gone:" << OrvMacFoundation::string(exception.reason);
    }
}
