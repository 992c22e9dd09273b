#include "OrvMacICDownload.h"

#include "OrvMacFoundation.h"

using namespace OrvImageCapture;

@implementation OrvMacICDownload {
    DownloadRequest myRequest;
}

- (instancetype)initWithRequest:(const DownloadRequest&)request
{
    self = [super init];
    if (self)
        myRequest = request;
    return self;
}

- (void)didDownloadFile:(ICCameraFile*)file
                  error:(NSError*)error
                options:(NSDictionary<NSString*, id>*)options
            contextInfo:(void*)contextInfo
{
    // The reference taken when the download was asked for ends here.
    OrvMacICDownload* handedOver = (__bridge_transfer OrvMacICDownload*)contextInfo;
    (void)handedOver;
    const auto delegate = myRequest.delegate.lock();
    if (!delegate)
        return;
    DownloadOptions done = myRequest.options;
    id saved = [options objectForKey:ICSavedFilename];
    if ([saved isKindOfClass:[NSString class]])
        done.savedFilename = OrvMacFoundation::string(static_cast<NSString*>(saved));
    OptionalError failed;
    if (error)
        failed = Error{int(error.code), OrvMacFoundation::describe(error)};
    delegate->didDownloadFile(myRequest.file, failed, done, myRequest.contextInfo);
}

@end
