#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <Foundation/Foundation.h>
#include <sys/types.h>

#define APPKIT_EXTERN SURFACE_EXTERN

NS_ASSUME_NONNULL_BEGIN

typedef NSString* NSUserInterfaceItemIdentifier NS_TYPED_EXTENSIBLE_ENUM;
typedef NSString* NSAppearanceName NS_TYPED_EXTENSIBLE_ENUM;
APPKIT_EXTERN NSAppearanceName const NSAppearanceNameAqua;
APPKIT_EXTERN NSAppearanceName const NSAppearanceNameDarkAqua;

@interface NSResponder : NSObject
@end

@protocol NSUserInterfaceItemIdentification
@property(nullable, copy) NSUserInterfaceItemIdentifier identifier;
@end

@interface NSAppearance : NSObject
@property(readonly, copy) NSAppearanceName name;
+ (nullable NSAppearance*)appearanceNamed:(NSAppearanceName)name;
- (nullable NSAppearanceName)bestMatchFromAppearancesWithNames:
    (NSArray<NSAppearanceName>*)appearances;
- (void)performAsCurrentDrawingAppearance:(void(NS_NOESCAPE ^)(void))block
    API_AVAILABLE(macos(11.0));
@end

@protocol NSAppearanceCustomization <NSObject>
@property(nullable, strong) NSAppearance* appearance;
@property(readonly, strong) NSAppearance* effectiveAppearance;
@end

@protocol NSAnimatablePropertyContainer
- (instancetype)animator;
@end

@interface NSAnimationContext : NSObject
@property(class, readonly, strong) NSAnimationContext* currentContext;
@property NSTimeInterval duration;
@property BOOL allowsImplicitAnimation;
@property(nullable, copy) void (^completionHandler)(void);
+ (void)runAnimationGroup:(void(NS_NOESCAPE ^)(NSAnimationContext* context))changes
        completionHandler:(nullable void (^)(void))completionHandler;
+ (void)runAnimationGroup:(void(NS_NOESCAPE ^)(NSAnimationContext* context))changes;
+ (void)beginGrouping;
+ (void)endGrouping;
@end

NS_ASSUME_NONNULL_END
