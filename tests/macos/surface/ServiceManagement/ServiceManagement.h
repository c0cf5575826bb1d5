#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, SMAppServiceStatus) {
    SMAppServiceStatusNotRegistered,
    SMAppServiceStatusEnabled,
    SMAppServiceStatusRequiresApproval,
    SMAppServiceStatusNotFound,
} API_AVAILABLE(macos(13.0));

API_AVAILABLE(macos(13.0))
@interface SMAppService : NSObject
@property(class, readonly, nonatomic) SMAppService* mainAppService;
@property(readonly, nonatomic) SMAppServiceStatus status;
- (BOOL)registerAndReturnError:(NSError* _Nullable* _Nullable)error;
- (BOOL)unregisterAndReturnError:(NSError* _Nullable* _Nullable)error;
- (void)unregisterWithCompletionHandler:(void (^)(NSError* _Nullable error))handler;
+ (void)openSystemSettingsLoginItems;
@end

NS_ASSUME_NONNULL_END
