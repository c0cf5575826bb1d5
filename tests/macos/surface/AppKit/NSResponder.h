#pragma once

#include <CoreGraphics/CoreGraphics.h>
#include <Foundation/Foundation.h>
#include <sys/types.h>

#define APPKIT_EXTERN SURFACE_EXTERN

NS_ASSUME_NONNULL_BEGIN

// appkit/nsuserinterfaceitemidentifier: "NSUserInterfaceItemIdentifier"
typedef NSString* NSUserInterfaceItemIdentifier NS_TYPED_EXTENSIBLE_ENUM;
// appkit/nsappearance/name-swift.struct: "NSAppearance.Name"
typedef NSString* NSAppearanceName NS_TYPED_EXTENSIBLE_ENUM;
// appkit/nsappearance/name-swift.struct/aqua: "The standard light system appearance."
APPKIT_EXTERN NSAppearanceName const NSAppearanceNameAqua;
// docs.rs/objc2-app-kit: "pub static NSAppearanceNameDarkAqua: &'static NSAppearanceName"
APPKIT_EXTERN NSAppearanceName const NSAppearanceNameDarkAqua;

// appkit/nsresponder: "An abstract class that forms the basis of event and command processing in
// AppKit."
@interface NSResponder : NSObject
@end

// appkit/nsuserinterfaceitemidentification: "A set of methods used to associate a unique
// identifier with objects in your user interface."
@protocol NSUserInterfaceItemIdentification
// appkit/nsuserinterfaceitemidentification/identifier: "A string that identifies the user
// interface item."
@property(nullable, copy) NSUserInterfaceItemIdentifier identifier;
@end

// appkit/nsappearance: "An object that manages standard appearance attributes for UI elements in
// an app."
@interface NSAppearance : NSObject
// appkit/nsappearance/name-swift.property: "The name of the appearance."
@property(readonly, copy) NSAppearanceName name;
// appkit/nsappearance/bestmatch(from:): "Returns the appearance name that most closely matches the
// current appearance object."
- (nullable NSAppearanceName)bestMatchFromAppearancesWithNames:
    (NSArray<NSAppearanceName>*)appearances;
@end

// appkit/nsappearancecustomization: "A set of methods for getting and setting the appearance
// attributes of a view."
@protocol NSAppearanceCustomization <NSObject>
// appkit/nsappearancecustomization/appearance: "The appearance of the receiver, in an NSAppearance
// object."
@property(nullable, strong) NSAppearance* appearance;
// appkit/nsappearancecustomization/effectiveappearance: "The appearance that will be used when the
// receiver is drawn onscreen, in an NSAppearance object."
@property(readonly, strong) NSAppearance* effectiveAppearance;
@end

// appkit/nsanimatablepropertycontainer: "A set of methods that defines a way to add animation to
// an existing class with a minimum of API impact."
@protocol NSAnimatablePropertyContainer
// appkit/nsanimatablepropertycontainer/animator(): "Returns a proxy object for the receiver that
// can be used to initiate implied animation for property changes."
- (instancetype)animator;
@end

// appkit/nsanimationcontext: "An animation context, which contains information about environment
// and state."
@interface NSAnimationContext : NSObject
// appkit/nsanimationcontext/duration: "The duration used by animations created as a result of
// setting new values for an animatable property."
@property NSTimeInterval duration;
// appkit/nsanimationcontext/completionhandler: "A completion Block that is called when the
// animations in the grouping are completed."
@property(nullable, copy) void (^completionHandler)(void);
// appkit/nsanimationcontext/runanimationgroup(_:completionhandler:): "Allows you to specify a
// completion block body after the set of animation actions whose completion will trigger the
// completion block."
+ (void)runAnimationGroup:(void(NS_NOESCAPE ^)(NSAnimationContext* context))changes
        completionHandler:(nullable void (^)(void))completionHandler;
// appkit/nsanimationcontext/runanimationgroup(_:): "runAnimationGroup(_:)"
+ (void)runAnimationGroup:(void(NS_NOESCAPE ^)(NSAnimationContext* context))changes;
@end

NS_ASSUME_NONNULL_END
