#pragma once

#include <AVFAudio/AVFAudio.h>

NS_ASSUME_NONNULL_BEGIN

typedef NSString* AVMediaType NS_TYPED_EXTENSIBLE_ENUM;
FOUNDATION_EXPORT AVMediaType const AVMediaTypeAudio;

typedef NS_ENUM(NSInteger, AVAuthorizationStatus) {
    AVAuthorizationStatusNotDetermined = 0,
    AVAuthorizationStatusRestricted = 1,
    AVAuthorizationStatusDenied = 2,
    AVAuthorizationStatusAuthorized = 3,
};

@interface AVCaptureDevice : NSObject
+ (AVAuthorizationStatus)authorizationStatusForMediaType:(AVMediaType)mediaType;
+ (void)requestAccessForMediaType:(AVMediaType)mediaType
                completionHandler:(void (^)(BOOL granted))handler;
@end

NS_ASSUME_NONNULL_END
