#pragma once

// Foundation and the Objective-C root class, as far as the adapters use them.
// Written from Apple's public documentation for the Linux check; pages are
// under https://developer.apple.com/documentation/ (objectivec/… for NSObject,
// foundation/… for the rest). The value and collection classes are macOS 10.0
// unless noted.

#include "../OrvCheckAvailability.h"

#include <CoreFoundation/CoreFoundation.h>
#include <dispatch/dispatch.h>

#include <stdint.h>

#ifndef nil
#define nil nullptr
#endif

typedef signed char BOOL;           // objectivec/bool (an Intel Mac's BOOL, which this check targets)
typedef long NSInteger;             // objectivec/nsinteger
typedef unsigned long NSUInteger;   // objectivec/nsuinteger
typedef double NSTimeInterval;      // foundation/nstimeinterval

@class NSString, NSArray<ObjectType>, NSDictionary<KeyType, ObjectType>, NSURL, NSData, NSError, NSDate;

// objectivec/nsobjectprotocol
@protocol NSObject
- (BOOL)isKindOfClass:(Class)aClass;
@end

// objectivec/nsobject-swift.class
__attribute__((objc_root_class))
@interface NSObject <NSObject>
+ (instancetype)alloc;
+ (instancetype)new;
+ (Class)class;
- (instancetype)init;
@end

// foundation/nsfastenumerationstate
typedef struct {
    unsigned long state;
    id __unsafe_unretained* itemsPtr;
    unsigned long* mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;

// foundation/nsfastenumeration
@protocol NSFastEnumeration
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)len;
@end

// foundation/nsstring
@interface NSString : NSObject
+ (instancetype)stringWithUTF8String:(const char*)nullTerminatedCString;  // foundation/nsstring/init(utf8string:)
@end

// foundation/nsnumber
@interface NSNumber : NSObject
+ (NSNumber*)numberWithBool:(BOOL)value;                         // foundation/nsnumber/init(value:)-…bool
+ (NSNumber*)numberWithInt:(int)value;
+ (NSNumber*)numberWithLongLong:(long long)value;
+ (NSNumber*)numberWithUnsignedLongLong:(unsigned long long)value;
+ (NSNumber*)numberWithDouble:(double)value;
@property(readonly) BOOL boolValue;                              // foundation/nsnumber/boolvalue
@property(readonly) int intValue;                                // foundation/nsnumber/int32value
@property(readonly) long long longLongValue;                     // foundation/nsnumber/int64value
@property(readonly) NSInteger integerValue API_AVAILABLE(macos(10.5));   // foundation/nsnumber/intvalue
@property(readonly) NSUInteger unsignedIntegerValue API_AVAILABLE(macos(10.5));
@property(readonly) double doubleValue;                          // foundation/nsnumber/doublevalue
@property(readonly) const char* objCType;                        // foundation/nsvalue/objctype
@property(readonly, copy) NSString* stringValue;                 // foundation/nsnumber/stringvalue
@end

// foundation/nsnull
@interface NSNull : NSObject
+ (NSNull*)null;
@end

// foundation/nsdate
@interface NSDate : NSObject
@end

// foundation/nsdata
@interface NSData : NSObject
@end

// foundation/nserror
@interface NSError : NSObject
@property(readonly) NSInteger code;                              // foundation/nserror/code
@property(readonly, copy) NSString* localizedDescription;        // foundation/nserror/localizeddescription
@end

// foundation/nsexception
@interface NSException : NSObject
@property(readonly, copy) NSString* name;                        // foundation/nsexception/name
@property(readonly, copy) NSString* reason;                      // foundation/nsexception/reason
@end

// foundation/nsarray
@interface NSArray<__covariant ObjectType> : NSObject <NSFastEnumeration>
@property(readonly) NSUInteger count;                            // foundation/nsarray/count
- (ObjectType)objectAtIndex:(NSUInteger)index;                   // foundation/nsarray/object(at:)
@end

// foundation/nsmutablearray
@interface NSMutableArray<ObjectType> : NSArray<ObjectType>
+ (instancetype)array;                                           // foundation/nsarray/init()
+ (instancetype)arrayWithCapacity:(NSUInteger)numItems;          // foundation/nsmutablearray/init(capacity:)
- (void)addObject:(ObjectType)anObject;                          // foundation/nsmutablearray/add(_:)
@end

// foundation/nsdictionary
@interface NSDictionary<__covariant KeyType, __covariant ObjectType> : NSObject <NSFastEnumeration>
+ (instancetype)dictionaryWithObject:(ObjectType)object forKey:(KeyType)key;  // foundation/nsdictionary/init(object:forkey:)
@property(readonly) NSUInteger count;                            // foundation/nsdictionary/count
- (ObjectType)objectForKey:(KeyType)aKey;                        // foundation/nsdictionary/object(forkey:)
@end

// foundation/nsmutabledictionary
@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary<KeyType, ObjectType>
+ (instancetype)dictionary;                                      // foundation/nsdictionary/init()
+ (instancetype)dictionaryWithCapacity:(NSUInteger)numItems;     // foundation/nsmutabledictionary/init(capacity:)
- (void)setObject:(ObjectType)anObject forKey:(KeyType)aKey;     // foundation/nsmutabledictionary/setobject(_:forkey:)
@end

// foundation/nsurl
@interface NSURL : NSObject
+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir API_AVAILABLE(macos(10.5));  // foundation/nsurl/fileurl(withpath:isdirectory:)
@property(readonly, copy) NSString* absoluteString;              // foundation/nsurl/absolutestring
@end

// foundation/nspredicate
@interface NSPredicate : NSObject
// foundation/nspredicate/init(format:argumentarray:)
+ (NSPredicate*)predicateWithFormat:(NSString*)predicateFormat argumentArray:(NSArray*)arguments API_AVAILABLE(macos(10.4));
@end

// foundation/nssortdescriptor
@interface NSSortDescriptor : NSObject
- (instancetype)initWithKey:(NSString*)key ascending:(BOOL)ascending;  // foundation/nssortdescriptor/init(key:ascending:)
@end

// foundation/thread
@interface NSThread : NSObject
@property(class, readonly) BOOL isMainThread API_AVAILABLE(macos(10.5));  // foundation/thread/ismainthread
@end

// foundation/bundle
@interface NSBundle : NSObject
+ (instancetype)bundleWithPath:(NSString*)path;                  // foundation/bundle/init(path:)
- (BOOL)load;                                                    // foundation/bundle/load()
@end

// foundation/nsclassfromstring(_:)
extern "C" Class NSClassFromString(NSString* aClassName);

// ---- key-value coding and observing (objectivec/nsobject-swift.class)

// foundation/nskeyvalueobservingoptions
typedef NS_OPTIONS(NSUInteger, NSKeyValueObservingOptions){
    NSKeyValueObservingOptionNew = 0x01,
    NSKeyValueObservingOptionOld = 0x02,
    NSKeyValueObservingOptionInitial API_AVAILABLE(macos(10.5)) = 0x04,
    NSKeyValueObservingOptionPrior API_AVAILABLE(macos(10.5)) = 0x08,
};

// foundation/nskeyvaluechange
typedef NS_ENUM(NSUInteger, NSKeyValueChange){
    NSKeyValueChangeSetting = 1,
    NSKeyValueChangeInsertion = 2,
    NSKeyValueChangeRemoval = 3,
    NSKeyValueChangeReplacement = 4,
};

typedef NSString* NSKeyValueChangeKey;                           // foundation/nskeyvaluechangekey
extern "C" NSKeyValueChangeKey const NSKeyValueChangeKindKey;   // foundation/nskeyvaluechangekey/kindkey

@interface NSObject (NSKeyValueCoding)
- (id)valueForKey:(NSString*)key;                                // objectivec/nsobject-swift.class/value(forkey:)
@end

@interface NSObject (NSKeyValueObserving)
// objectivec/nsobject-swift.class/observevalue(forkeypath:of:change:context:)
- (void)observeValueForKeyPath:(NSString*)keyPath
                      ofObject:(id)object
                        change:(NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(void*)context;
@end

@interface NSObject (NSKeyValueObserverRegistration)
// objectivec/nsobject-swift.class/addobserver(_:forkeypath:options:context:)
- (void)addObserver:(NSObject*)observer
         forKeyPath:(NSString*)keyPath
            options:(NSKeyValueObservingOptions)options
            context:(void*)context;
// objectivec/nsobject-swift.class/removeobserver(_:forkeypath:context:)
- (void)removeObserver:(NSObject*)observer
            forKeyPath:(NSString*)keyPath
               context:(void*)context API_AVAILABLE(macos(10.7));
@end
