#pragma once

// PhotoKit (Photos.framework), as far as the adapters use it. Written from
// Apple's public documentation for the Linux check; pages are under
// https://developer.apple.com/documentation/photos/. Enumeration values are the
// ones the platform interface (platform/photokit/OrvPhotoKit.h) states.

#include <AppKit/AppKit.h>
#include <CoreGraphics/CoreGraphics.h>
#include <CoreLocation/CoreLocation.h>
#include <Foundation/Foundation.h>
#include <ImageIO/ImageIO.h>

// photos/phauthorizationstatus
typedef NS_ENUM(NSInteger, PHAuthorizationStatus){
    PHAuthorizationStatusNotDetermined = 0,
    PHAuthorizationStatusRestricted = 1,
    PHAuthorizationStatusDenied = 2,
    PHAuthorizationStatusAuthorized = 3,
    PHAuthorizationStatusLimited API_AVAILABLE(macos(11.0)) = 4,
};

// photos/phaccesslevel (macOS 11)
typedef NS_ENUM(NSInteger, PHAccessLevel){
    PHAccessLevelAddOnly = 1,
    PHAccessLevelReadWrite = 2,
} API_AVAILABLE(macos(11.0));

// photos/phassetsourcetype (macOS 10.11)
typedef NS_OPTIONS(NSUInteger, PHAssetSourceType){
    PHAssetSourceTypeNone = 0,
    PHAssetSourceTypeUserLibrary = (1UL << 0),
    PHAssetSourceTypeCloudShared = (1UL << 1),
    PHAssetSourceTypeiTunesSynced = (1UL << 2),
};

// photos/phassetcollectiontype
typedef NS_ENUM(NSInteger, PHAssetCollectionType){
    PHAssetCollectionTypeAlbum = 1,
    PHAssetCollectionTypeSmartAlbum = 2,
};

// photos/phassetcollectionsubtype (.any: macOS 10.11)
typedef NS_ENUM(NSInteger, PHAssetCollectionSubtype){
    PHAssetCollectionSubtypeAlbumRegular = 2,
    PHAssetCollectionSubtypeAlbumCloudShared = 101,
    PHAssetCollectionSubtypeSmartAlbumGeneric = 200,
    PHAssetCollectionSubtypeSmartAlbumFavorites = 203,
    PHAssetCollectionSubtypeAny = 0x7fffffff,
};

// photos/phcollectionlisttype
typedef NS_ENUM(NSInteger, PHCollectionListType){
    PHCollectionListTypeFolder = 2,
    PHCollectionListTypeSmartFolder = 3,
};

// photos/phcollectionlistsubtype (macOS 10.11)
typedef NS_ENUM(NSInteger, PHCollectionListSubtype){
    PHCollectionListSubtypeRegularFolder = 100,
    PHCollectionListSubtypeAny = 0x7fffffff,
};

// photos/phassetresourcetype (macOS 10.11)
typedef NS_ENUM(NSInteger, PHAssetResourceType){
    PHAssetResourceTypePhoto = 1,
    PHAssetResourceTypeVideo = 2,
    PHAssetResourceTypeAudio = 3,
    PHAssetResourceTypeAlternatePhoto = 4,
    PHAssetResourceTypeFullSizePhoto = 5,
    PHAssetResourceTypeFullSizeVideo = 6,
    PHAssetResourceTypeAdjustmentData = 7,
    PHAssetResourceTypeAdjustmentBasePhoto = 8,
    PHAssetResourceTypePairedVideo = 9,
};

// photos/phimagerequestoptionsdeliverymode (macOS 10.13)
typedef NS_ENUM(NSInteger, PHImageRequestOptionsDeliveryMode){
    PHImageRequestOptionsDeliveryModeOpportunistic = 0,
    PHImageRequestOptionsDeliveryModeHighQualityFormat = 1,
    PHImageRequestOptionsDeliveryModeFastFormat = 2,
};

// photos/phimagecontentmode (macOS 10.11)
typedef NS_ENUM(NSInteger, PHImageContentMode){
    PHImageContentModeAspectFit = 0,
    PHImageContentModeAspectFill = 1,
    PHImageContentModeDefault = PHImageContentModeAspectFit,
};

typedef int32_t PHImageRequestID;  // photos/phimagerequestid

@class PHAsset, PHAssetCollection, PHCollection, PHCollectionList, PHFetchResultChangeDetails<ObjectType>;

// photos/phobject
API_AVAILABLE(macos(10.13))
@interface PHObject : NSObject
@property(readonly, copy) NSString* localIdentifier;  // photos/phobject/localidentifier
@end

// photos/phfetchoptions
API_AVAILABLE(macos(10.13))
@interface PHFetchOptions : NSObject
@property(strong) NSPredicate* predicate;                               // photos/phfetchoptions/predicate
@property(strong) NSArray<NSSortDescriptor*>* sortDescriptors;          // photos/phfetchoptions/sortdescriptors
@property PHAssetSourceType includeAssetSourceTypes API_AVAILABLE(macos(10.13));  // photos/phfetchoptions/includeassetsourcetypes
@end

// photos/phfetchresult
API_AVAILABLE(macos(10.13))
@interface PHFetchResult<ObjectType> : NSObject <NSFastEnumeration>
@property(readonly) NSUInteger count;           // photos/phfetchresult/count
- (ObjectType)objectAtIndex:(NSUInteger)index;  // photos/phfetchresult/object(at:)
@end

// photos/phasset
API_AVAILABLE(macos(10.13))
@interface PHAsset : PHObject
@property(readonly) NSUInteger pixelWidth;                         // photos/phasset/pixelwidth
@property(readonly) NSUInteger pixelHeight;                        // photos/phasset/pixelheight
@property(readonly, strong) NSDate* creationDate;                  // photos/phasset/creationdate
@property(readonly, strong) CLLocation* location;                  // photos/phasset/location
@property(readonly, getter=isFavorite) BOOL favorite;              // photos/phasset/isfavorite
// photos/phasset/fetchassets(in:options:)
+ (PHFetchResult<PHAsset*>*)fetchAssetsInAssetCollection:(PHAssetCollection*)assetCollection
                                                 options:(PHFetchOptions*)options;
// photos/phasset/fetchassets(withlocalidentifiers:options:)
+ (PHFetchResult<PHAsset*>*)fetchAssetsWithLocalIdentifiers:(NSArray<NSString*>*)identifiers
                                                    options:(PHFetchOptions*)options;
// photos/phasset/fetchassets(with:)
+ (PHFetchResult<PHAsset*>*)fetchAssetsWithOptions:(PHFetchOptions*)options API_AVAILABLE(macos(10.15));
@end

// photos/phcollection
API_AVAILABLE(macos(10.13))
@interface PHCollection : PHObject
@property(readonly, copy) NSString* localizedTitle;  // photos/phcollection/localizedtitle
// photos/phcollection/fetchcollections(in:options:)
+ (PHFetchResult<PHCollection*>*)fetchCollectionsInCollectionList:(PHCollectionList*)collectionList
                                                          options:(PHFetchOptions*)options API_AVAILABLE(macos(10.15));
// photos/phcollection/fetchtoplevelusercollections(with:)
+ (PHFetchResult<PHCollection*>*)fetchTopLevelUserCollectionsWithOptions:(PHFetchOptions*)options
    API_AVAILABLE(macos(10.15));
@end

// photos/phassetcollection
API_AVAILABLE(macos(10.13))
@interface PHAssetCollection : PHCollection
@property(readonly) PHAssetCollectionType assetCollectionType;        // photos/phassetcollection/assetcollectiontype
@property(readonly) PHAssetCollectionSubtype assetCollectionSubtype;  // photos/phassetcollection/assetcollectionsubtype
// photos/phassetcollection/fetchassetcollections(withlocalidentifiers:options:)
+ (PHFetchResult<PHAssetCollection*>*)fetchAssetCollectionsWithLocalIdentifiers:(NSArray<NSString*>*)identifiers
                                                                        options:(PHFetchOptions*)options
    API_AVAILABLE(macos(10.15));
// photos/phassetcollection/fetchassetcollections(with:subtype:options:)
+ (PHFetchResult<PHAssetCollection*>*)fetchAssetCollectionsWithType:(PHAssetCollectionType)type
                                                            subtype:(PHAssetCollectionSubtype)subtype
                                                            options:(PHFetchOptions*)options API_AVAILABLE(macos(10.15));
@end

// photos/phcollectionlist
API_AVAILABLE(macos(10.13))
@interface PHCollectionList : PHCollection
@property(readonly) PHCollectionListType collectionListType;  // photos/phcollectionlist/collectionlisttype
// photos/phcollectionlist/fetchcollectionlists(with:subtype:options:)
+ (PHFetchResult<PHCollectionList*>*)fetchCollectionListsWithType:(PHCollectionListType)collectionListType
                                                         subtype:(PHCollectionListSubtype)subtype
                                                         options:(PHFetchOptions*)options API_AVAILABLE(macos(10.15));
// photos/phcollectionlist/fetchcollectionlistscontaining(_:options:)
+ (PHFetchResult<PHCollectionList*>*)fetchCollectionListsContainingCollection:(PHCollection*)collection
                                                                     options:(PHFetchOptions*)options
    API_AVAILABLE(macos(10.15));
@end

// photos/phfetchresultchangedetails
API_AVAILABLE(macos(10.13))
@interface PHFetchResultChangeDetails<ObjectType> : NSObject
@property(readonly, strong) PHFetchResult<ObjectType>* fetchResultBeforeChanges;  // photos/phfetchresultchangedetails/fetchresultbeforechanges
@property(readonly, strong) PHFetchResult<ObjectType>* fetchResultAfterChanges;   // photos/phfetchresultchangedetails/fetchresultafterchanges
@property(readonly) BOOL hasIncrementalChanges;                                   // photos/phfetchresultchangedetails/hasincrementalchanges
@property(readonly, strong) NSArray<ObjectType>* removedObjects;                  // photos/phfetchresultchangedetails/removedobjects
@property(readonly, strong) NSArray<ObjectType>* insertedObjects;                 // photos/phfetchresultchangedetails/insertedobjects
@property(readonly, strong) NSArray<ObjectType>* changedObjects;                  // photos/phfetchresultchangedetails/changedobjects
@end

// photos/phchange
API_AVAILABLE(macos(10.13))
@interface PHChange : NSObject
// photos/phchange/changedetails(for:)
- (PHFetchResultChangeDetails*)changeDetailsForFetchResult:(PHFetchResult*)object;
@end

// photos/phphotolibrarychangeobserver
API_AVAILABLE(macos(10.13))
@protocol PHPhotoLibraryChangeObserver <NSObject>
- (void)photoLibraryDidChange:(PHChange*)changeInstance;  // photos/phphotolibrarychangeobserver/photolibrarydidchange(_:)
@end

// photos/phphotolibrary
API_AVAILABLE(macos(10.13))
@interface PHPhotoLibrary : NSObject
@property(class, readonly) PHPhotoLibrary* sharedPhotoLibrary;  // photos/phphotolibrary/shared()
// photos/phphotolibrary/authorizationstatus()
+ (PHAuthorizationStatus)authorizationStatus API_DEPRECATED("use authorizationStatusForAccessLevel:", macos(10.13, 11.0));
// photos/phphotolibrary/authorizationstatus(for:)
+ (PHAuthorizationStatus)authorizationStatusForAccessLevel:(PHAccessLevel)accessLevel API_AVAILABLE(macos(11.0));
// photos/phphotolibrary/requestauthorization(_:) (deprecated only from 27)
+ (void)requestAuthorization:(void (^)(PHAuthorizationStatus status))handler;
// photos/phphotolibrary/requestauthorization(for:handler:)
+ (void)requestAuthorizationForAccessLevel:(PHAccessLevel)accessLevel
                                   handler:(void (^)(PHAuthorizationStatus status))handler API_AVAILABLE(macos(11.0));
- (void)registerChangeObserver:(id<PHPhotoLibraryChangeObserver>)observer;    // photos/phphotolibrary/register(_:)-6y3b9
- (void)unregisterChangeObserver:(id<PHPhotoLibraryChangeObserver>)observer;  // photos/phphotolibrary/unregisterchangeobserver(_:)
@end

// photos/phassetresource
API_AVAILABLE(macos(10.15))
@interface PHAssetResource : NSObject
@property(readonly) PHAssetResourceType type;          // photos/phassetresource/type
@property(readonly, copy) NSString* originalFilename;  // photos/phassetresource/originalfilename (deprecated only from 27)
+ (NSArray<PHAssetResource*>*)assetResourcesForAsset:(PHAsset*)asset;  // photos/phassetresource/assetresources(for:)-27o4l
@end

// photos/phimagerequestoptions
API_AVAILABLE(macos(10.13))
@interface PHImageRequestOptions : NSObject
@property(getter=isSynchronous) BOOL synchronous;                     // photos/phimagerequestoptions/issynchronous
@property(getter=isNetworkAccessAllowed) BOOL networkAccessAllowed;   // photos/phimagerequestoptions/isnetworkaccessallowed
@property PHImageRequestOptionsDeliveryMode deliveryMode;             // photos/phimagerequestoptions/deliverymode
@end

// Keys of the result info (photokit/image-result-info-keys), NSString constants
extern "C" NSString* const PHImageResultIsInCloudKey API_AVAILABLE(macos(10.13));    // photos/phimageresultisincloudkey
extern "C" NSString* const PHImageResultIsDegradedKey API_AVAILABLE(macos(10.13));   // photos/phimageresultisdegradedkey
extern "C" NSString* const PHImageResultRequestIDKey API_AVAILABLE(macos(10.13));    // photos/phimageresultrequestidkey
extern "C" NSString* const PHImageErrorKey API_AVAILABLE(macos(10.13));              // photos/phimageerrorkey

extern "C" const CGSize PHImageManagerMaximumSize API_AVAILABLE(macos(10.13));       // photos/phimagemanagermaximumsize

// photos/phimagemanager
API_AVAILABLE(macos(10.13))
@interface PHImageManager : NSObject
+ (PHImageManager*)defaultManager;  // photos/phimagemanager/default()
// photos/phimagemanager/requestimage(for:targetsize:contentmode:options:resulthandler:)
- (PHImageRequestID)requestImageForAsset:(PHAsset*)asset
                              targetSize:(CGSize)targetSize
                             contentMode:(PHImageContentMode)contentMode
                                 options:(PHImageRequestOptions*)options
                           resultHandler:(void (^)(NSImage* result, NSDictionary* info))resultHandler;
// photos/phimagemanager/requestimagedataandorientation(for:options:resulthandler:)
- (PHImageRequestID)requestImageDataAndOrientationForAsset:(PHAsset*)asset
                                                   options:(PHImageRequestOptions*)options
                                             resultHandler:(void (^)(NSData* imageData, NSString* dataUTI,
                                                                     CGImagePropertyOrientation orientation,
                                                                     NSDictionary* info))resultHandler
    API_AVAILABLE(macos(10.15));
@end
