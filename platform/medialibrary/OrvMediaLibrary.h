#pragma once

// The part of Apple's MediaLibrary framework (macOS before 10.15) that the
// plug-in uses, as thin C++ interfaces, with the two platform calls around it:
// security-scoped access to a file URL and the workspace's running
// applications. A backend (the simulation here, Objective-C++ adapters on
// macOS) implements Backend and installs itself with setBackend; the plug-in
// reaches it only through the free functions below.
//
// MediaLibrary objects load lazily: reading mediaSources, rootMediaGroup or
// mediaObjects the first time starts loading and answers what is there so far
// (nothing); the finished value is announced later through key-value
// observation, on a thread of the framework.

#include <QList>
#include <QMap>
#include <QString>
#include <QUrl>
#include <QVariantMap>

#include <memory>
#include <optional>

namespace OrvMediaLibrary {

// MLMediaType
enum class MediaType : quint32 { Audio = 1 << 0, Image = 1 << 1, Movie = 1 << 2 };

// NSKeyValueObservingOptions
enum KeyValueObservingOption : quint32 {
    KeyValueObservingOptionNew = 0x01,
    KeyValueObservingOptionOld = 0x02,
    // The observer hears the current value at once, inside addObserver, on the caller's thread.
    KeyValueObservingOptionInitial = 0x04,
    KeyValueObservingOptionPrior = 0x08,
};
using KeyValueObservingOptions = quint32;

// NSKeyValueChange
enum class KeyValueChangeKind : int { Setting = 1, Insertion = 2, Removal = 3, Replacement = 4 };

// The change dictionary of a notification, as far as the plug-in reads it.
struct KeyValueChange
{
    KeyValueChangeKind kind = KeyValueChangeKind::Setting;
};

// NSURL (a file URL); nullopt stands for nil.
using URL = std::optional<QUrl>;

class Object;
using ObjectPtr = std::shared_ptr<Object>;

// The observer side of key-value observation (observeValueForKeyPath:ofObject:change:context:).
class KeyValueObserver
{
public:
    virtual ~KeyValueObserver();
    virtual void observeValueForKeyPath(const QString& keyPath, const ObjectPtr& object, const KeyValueChange& change,
                                        const void* context) = 0;
};

// NSObject, as far as key-value observation goes. Observers are not retained.
class Object
{
public:
    virtual ~Object();
    virtual void addObserver(const std::weak_ptr<KeyValueObserver>& observer, const QString& keyPath,
                             KeyValueObservingOptions options, const void* context) = 0;
    virtual void removeObserver(const KeyValueObserver* observer, const QString& keyPath, const void* context) = 0;
};

// MLMediaObject
class MediaObject : public Object
{
public:
    virtual QString identifier() const = 0;
    virtual QString name() const = 0;
    virtual MediaType mediaType() const = 0;
    virtual URL url() const = 0;
    virtual QString mediaSourceIdentifier() const = 0;
};
using MediaObjectPtr = std::shared_ptr<MediaObject>;

class MediaGroup;
using MediaGroupPtr = std::shared_ptr<MediaGroup>;

// MLMediaGroup
class MediaGroup : public Object
{
public:
    virtual QString identifier() const = 0;
    virtual QString name() const = 0;
    virtual QString typeIdentifier() const = 0;
    virtual QString mediaSourceIdentifier() const = 0;
    // Null for a root group.
    virtual MediaGroupPtr parent() const = 0;
    virtual QList<MediaGroupPtr> childGroups() const = 0;
    // Observable as "mediaObjects"; empty until loaded (the first read starts loading).
    virtual QList<MediaObjectPtr> mediaObjects() = 0;
};

// MLMediaSource
class MediaSource : public Object
{
public:
    virtual QString mediaSourceIdentifier() const = 0;
    // Observable as "rootMediaGroup"; null until loaded (the first read starts loading).
    virtual MediaGroupPtr rootMediaGroup() = 0;
    // Null when the source has no such group or object (or has not loaded its groups yet).
    virtual MediaGroupPtr mediaGroupForIdentifier(const QString& identifier) = 0;
    virtual MediaObjectPtr mediaObjectForIdentifier(const QString& identifier) = 0;
};
using MediaSourcePtr = std::shared_ptr<MediaSource>;

// MLMediaLibrary
class MediaLibrary : public Object
{
public:
    // Observable as "mediaSources"; keyed by media source identifier. Empty
    // until loaded (the first read starts loading).
    virtual QMap<QString, MediaSourcePtr> mediaSources() = 0;
};
using MediaLibraryPtr = std::shared_ptr<MediaLibrary>;

// A framework binary loaded at run time (dlopen); unloaded when destroyed (dlclose).
class FrameworkImage
{
public:
    virtual ~FrameworkImage();
    // The NSString constant exported under name (dlsym); nothing when it has none.
    virtual std::optional<QString> stringConstant(const char* name) const = 0;
};

// NSRunningApplication, as far as the plug-in reads it.
struct RunningApplication
{
    QString bundleIdentifier;
    QString localizedName;
    qint64 processIdentifier = 0;
};

// What a backend provides.
class Backend
{
public:
    virtual ~Backend();
    // dlopen(path, RTLD_LAZY); null when there is no such framework.
    virtual std::unique_ptr<FrameworkImage> loadFramework(const QString& path) = 0;
    // NSClassFromString(name) != nil
    virtual bool classExists(const QString& name) = 0;
    // [[MLMediaLibrary alloc] initWithOptions:options]; null without the class.
    virtual MediaLibraryPtr createMediaLibrary(const QVariantMap& options) = 0;
    // CFURLStartAccessingSecurityScopedResource / CFURLStopAccessingSecurityScopedResource
    virtual bool startAccessingSecurityScopedResource(const QUrl& url) = 0;
    virtual void stopAccessingSecurityScopedResource(const QUrl& url) = 0;
    // [[NSWorkspace sharedWorkspace] runningApplications]
    virtual QList<RunningApplication> runningApplications() = 0;
};

// Where a backend installs itself; the program that runs the plug-in does so
// before the plug-in first asks. Null uninstalls.
void setBackend(std::shared_ptr<Backend> backend);

// The calls of the installed backend. Without one they answer null, false or
// empty (and one debug line).
std::unique_ptr<FrameworkImage> loadFramework(const QString& path);
bool classExists(const QString& name);
MediaLibraryPtr createMediaLibrary(const QVariantMap& options);
bool startAccessingSecurityScopedResource(const QUrl& url);
void stopAccessingSecurityScopedResource(const QUrl& url);
QList<RunningApplication> runningApplications();

// UTTypeEqual: uniform type identifiers compare without regard to case.
bool typeIdentifiersEqual(const QString& first, const QString& second);

} // namespace OrvMediaLibrary
