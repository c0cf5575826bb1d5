#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

// servicemanagement/smappservice/status-swift.enum: "Constants that describe the registration or
// authorization status of a helper executable."
typedef NS_ENUM(NSInteger, SMAppServiceStatus) {
    // servicemanagement/smappservice/status-swift.enum/notregistered: "The service hasn’t
    // registered with the Service Management framework, or the service attempted to reregister
    // after it was already registered."
    SMAppServiceStatusNotRegistered,
    // servicemanagement/smappservice/status-swift.enum/enabled: "The service has been successfully
    // registered and is eligible to run."
    SMAppServiceStatusEnabled,
    // servicemanagement/smappservice/status-swift.enum/requiresapproval: "The service has been
    // successfully registered, but the user needs to take action in System Preferences."
    SMAppServiceStatusRequiresApproval,
    // servicemanagement/smappservice/status-swift.enum/notfound: "An error occurred and the
    // framework couldn’t find this service."
    SMAppServiceStatusNotFound,
} API_AVAILABLE(macos(13.0));

// servicemanagement/smappservice: "An object the framework uses to control helper executables that
// live inside an app’s main bundle."
API_AVAILABLE(macos(13.0))
@interface SMAppService : NSObject
// servicemanagement/smappservice/mainapp: "An app service object that corresponds to the main
// application as a login item."
@property(class, readonly, nonatomic) SMAppService* mainAppService;
// servicemanagement/smappservice/status-swift.property: "A property that describes registration or
// authorization state of the service."
@property(readonly, nonatomic) SMAppServiceStatus status;
// servicemanagement/smappservice/register(): "Registers the service so it can begin launching
// subject to user approval."
- (BOOL)registerAndReturnError:(NSError* _Nullable* _Nullable)error;
// servicemanagement/smappservice/unregister(): "Unregisters the service so the system no longer
// launches it."
- (BOOL)unregisterAndReturnError:(NSError* _Nullable* _Nullable)error;
@end

NS_ASSUME_NONNULL_END
