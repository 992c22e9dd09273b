#pragma once

// What crosses between the platform interfaces and Foundation: Qt's values as
// Foundation objects and back, nil taken as empty, and where work has to run.

#import <Foundation/Foundation.h>

#include <QList>
#include <QString>
#include <QStringList>
#include <QVariant>
#include <QVariantMap>

// A call kept for the systems before the one that deprecated it, behind its
// @available check: the deprecation concerns only the newer systems.
#define ORV_MAC_OLDER_SYSTEMS(statement)                                                                               \
    _Pragma("clang diagnostic push") _Pragma("clang diagnostic ignored \"-Wdeprecated-declarations\"") statement       \
        _Pragma("clang diagnostic pop")

namespace OrvMacFoundation {

// Empty (null) for nil.
QString string(NSString* string);
QStringList strings(NSArray* strings);
NSArray<NSString*>* array(const QStringList& strings);

// Text, numbers, booleans, dates and lists as Foundation objects; NSNull for an
// invalid variant or a kind Foundation has no object for.
id object(const QVariant& value);
NSArray* array(const QVariantList& values);
NSDictionary<NSString*, id>* dictionary(const QVariantMap& map);
// The other way: NSString, NSNumber (a boolean as bool), NSDate (as UTC),
// NSArray and NSDictionary with text keys; an invalid variant for nil and for
// objects of other kinds.
QVariant variant(id object);

// An error's text for a debug line or an error record.
QString describe(NSError* error);

// Runs block on the main thread: at once when called there, later otherwise.
// Image Capture expects its objects to be driven from the main thread.
void onMainThread(dispatch_block_t block);
// Runs block off the main thread: at once when called elsewhere, on a queue of
// the system otherwise (for callbacks the interfaces promise off the main thread).
void offMainThread(dispatch_block_t block);

} // namespace OrvMacFoundation
