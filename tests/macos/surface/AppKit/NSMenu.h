#pragma once

#include <AppKit/NSEvent.h>
#include <AppKit/NSView.h>

NS_ASSUME_NONNULL_BEGIN

@class NSMenuItem;
@protocol NSMenuDelegate;

typedef NSInteger NSControlStateValue NS_TYPED_EXTENSIBLE_ENUM;
static const NSControlStateValue NSControlStateValueMixed = -1;
static const NSControlStateValue NSControlStateValueOff = 0;
static const NSControlStateValue NSControlStateValueOn = 1;

@interface NSMenu : NSObject <NSCopying, NSUserInterfaceItemIdentification>
- (instancetype)initWithTitle:(NSString*)title NS_DESIGNATED_INITIALIZER;
@property(copy) NSString* title;
@property(nullable, weak) id<NSMenuDelegate> delegate;
@property BOOL autoenablesItems;
@property(readonly) NSInteger numberOfItems;
@property(copy) NSArray<NSMenuItem*>* itemArray;
- (void)addItem:(NSMenuItem*)newItem;
- (void)insertItem:(NSMenuItem*)newItem atIndex:(NSInteger)index;
- (NSMenuItem*)addItemWithTitle:(NSString*)string
                         action:(nullable SEL)selector
                  keyEquivalent:(NSString*)charCode;
- (void)removeItem:(NSMenuItem*)item;
- (void)removeAllItems;
- (nullable NSMenuItem*)itemAtIndex:(NSInteger)index;
- (void)update;
- (void)cancelTracking;
@end

@protocol NSMenuDelegate <NSObject>
@optional
- (void)menuNeedsUpdate:(NSMenu*)menu;
- (void)menuWillOpen:(NSMenu*)menu;
- (void)menuDidClose:(NSMenu*)menu;
@end

@interface NSMenuItem : NSObject <NSCopying, NSUserInterfaceItemIdentification>
+ (NSMenuItem*)separatorItem;
- (instancetype)initWithTitle:(NSString*)string
                       action:(nullable SEL)selector
                keyEquivalent:(NSString*)charCode NS_DESIGNATED_INITIALIZER;
@property(copy) NSString* title;
@property(readonly, getter=isSeparatorItem) BOOL separatorItem;
@property(copy) NSString* keyEquivalent;
@property NSEventModifierFlags keyEquivalentModifierMask;
@property(nullable, strong) NSImage* image;
@property NSControlStateValue state;
@property(getter=isEnabled) BOOL enabled;
@property(getter=isHidden) BOOL hidden;
@property(nullable, weak) id target;
@property(nullable) SEL action;
@property NSInteger tag;
@property(nullable, strong) id representedObject;
@property(nullable, strong) NSMenu* submenu;
@end

@interface NSControl : NSView
@property(nullable, weak) id target;
@property(nullable) SEL action;
@property(getter=isEnabled) BOOL enabled;
@end

@interface NSButton : NSControl
@property(copy) NSString* title;
@property(nullable, strong) NSImage* image;
@end

@interface NSStatusBarButton : NSButton
@end

static const CGFloat NSVariableStatusItemLength = -1.0;
static const CGFloat NSSquareStatusItemLength = -2.0;

@interface NSStatusItem : NSObject
@property CGFloat length;
@property(nullable, strong) NSMenu* menu;
@property(nullable, readonly, strong) NSStatusBarButton* button;
@property(getter=isVisible) BOOL visible;
@property(null_resettable, copy) NSString* autosaveName;
@end

@interface NSStatusBar : NSObject
@property(class, readonly, strong) NSStatusBar* systemStatusBar;
- (NSStatusItem*)statusItemWithLength:(CGFloat)length;
- (void)removeStatusItem:(NSStatusItem*)item;
@end

NS_ASSUME_NONNULL_END
