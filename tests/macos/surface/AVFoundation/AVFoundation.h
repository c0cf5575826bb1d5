#pragma once

#include <AVFAudio/AVFAudio.h>

NS_ASSUME_NONNULL_BEGIN

// avfoundation/avmediatype: "An identifier for various media types."
typedef NSString* AVMediaType NS_TYPED_EXTENSIBLE_ENUM;
// avfoundation/avmediatype/audio: "The media contains audio media."
FOUNDATION_EXPORT AVMediaType const AVMediaTypeAudio;

// avfoundation/avauthorizationstatus: "Constants that indicate the status of an app’s
// authorization to capture media."
typedef NS_ENUM(NSInteger, AVAuthorizationStatus) {
    // avfoundation/avauthorizationstatus/notdetermined: "A status that indicates the user hasn’t
    // yet granted or denied authorization."
    AVAuthorizationStatusNotDetermined = 0,
    // avfoundation/avauthorizationstatus/restricted: "A status that indicates the app isn’t
    // permitted to use media capture devices."
    AVAuthorizationStatusRestricted = 1,
    // avfoundation/avauthorizationstatus/denied: "A status that indicates the user has explicitly
    // denied an app permission to capture media."
    AVAuthorizationStatusDenied = 2,
    // avfoundation/avauthorizationstatus/authorized: "A status that indicates the user has
    // explicitly granted an app permission to capture media."
    AVAuthorizationStatusAuthorized = 3,
};

// avfoundation/avcapturedevice: "An object that represents a hardware or virtual capture device
// like a camera or microphone."
@interface AVCaptureDevice : NSObject
// avfoundation/avcapturedevice/authorizationstatus(for:): "Returns an authorization status that
// indicates whether the user grants the app permission to capture media of a particular type."
+ (AVAuthorizationStatus)authorizationStatusForMediaType:(AVMediaType)mediaType;
@end

NS_ASSUME_NONNULL_END
