#pragma once

// MediaLibrary, as far as the adapters use it (the framework is loaded at run
// time, so only its declarations are used). Written from Apple's public
// documentation for the Linux check; pages are under
// https://developer.apple.com/documentation/medialibrary/. Every class is
// macOS 10.9 to 10.15, which deprecated the framework.

#include <Foundation/Foundation.h>

// medialibrary/mlmediatype (values as platform/medialibrary/OrvMediaLibrary.h states them)
typedef NS_OPTIONS(NSUInteger, MLMediaType){
    MLMediaTypeAudio = 1 << 0,
    MLMediaTypeImage = 1 << 1,
    MLMediaTypeMovie = 1 << 2,
};

@class MLMediaGroup, MLMediaObject, MLMediaSource;

// medialibrary/mlmedialibrary
API_DEPRECATED("MediaLibrary", macos(10.9, 10.15))
@interface MLMediaLibrary : NSObject
- (instancetype)initWithOptions:(NSDictionary<NSString*, id>*)options;                  // medialibrary/mlmedialibrary/init(options:)
@property(readonly, copy) NSDictionary<NSString*, MLMediaSource*>* mediaSources;        // medialibrary/mlmedialibrary/mediasources
@end

// medialibrary/mlmediasource
API_DEPRECATED("MediaLibrary", macos(10.9, 10.15))
@interface MLMediaSource : NSObject
@property(readonly, copy) NSString* mediaSourceIdentifier;                              // medialibrary/mlmediasource/mediasourceidentifier
@property(readonly, strong) MLMediaGroup* rootMediaGroup;                               // medialibrary/mlmediasource/rootmediagroup
- (MLMediaGroup*)mediaGroupForIdentifier:(NSString*)mediaGroupIdentifier;               // medialibrary/mlmediasource/mediagroup(foridentifier:)
- (MLMediaObject*)mediaObjectForIdentifier:(NSString*)mediaObjectIdentifier;            // medialibrary/mlmediasource/mediaobject(foridentifier:)
@end

// medialibrary/mlmediagroup
API_DEPRECATED("MediaLibrary", macos(10.9, 10.15))
@interface MLMediaGroup : NSObject
@property(readonly, assign) MLMediaGroup* parent;                                       // medialibrary/mlmediagroup/parent (unowned)
@property(readonly, copy) NSString* mediaSourceIdentifier;                              // medialibrary/mlmediagroup/mediasourceidentifier
@property(readonly, copy) NSString* name;                                               // medialibrary/mlmediagroup/name
@property(readonly, copy) NSString* identifier;                                         // medialibrary/mlmediagroup/identifier
@property(readonly, copy) NSString* typeIdentifier;                                     // medialibrary/mlmediagroup/typeidentifier
@property(readonly, copy) NSArray<MLMediaGroup*>* childGroups;                          // medialibrary/mlmediagroup/childgroups
@property(readonly, copy) NSArray<MLMediaObject*>* mediaObjects;                        // medialibrary/mlmediagroup/mediaobjects
@end

// medialibrary/mlmediaobject
API_DEPRECATED("MediaLibrary", macos(10.9, 10.15))
@interface MLMediaObject : NSObject
@property(readonly, copy) NSString* mediaSourceIdentifier;                              // medialibrary/mlmediaobject/mediasourceidentifier
@property(readonly, copy) NSString* identifier;                                         // medialibrary/mlmediaobject/identifier
@property(readonly, copy) NSString* name;                                               // medialibrary/mlmediaobject/name
@property(readonly) MLMediaType mediaType;                                              // medialibrary/mlmediaobject/mediatype
@property(readonly, copy) NSURL* URL;                                                   // medialibrary/mlmediaobject/url
@end
