#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

@class NSColor;
@class NSGraphicsContext;

typedef CGFloat NSFontWeight NS_TYPED_EXTENSIBLE_ENUM;
APPKIT_EXTERN const NSFontWeight NSFontWeightRegular;
APPKIT_EXTERN const NSFontWeight NSFontWeightMedium;
APPKIT_EXTERN const NSFontWeight NSFontWeightSemibold;

typedef NSString* NSImageName NS_TYPED_EXTENSIBLE_ENUM;
typedef NSString* NSImageHintKey NS_TYPED_EXTENSIBLE_ENUM;
typedef NS_ENUM(NSInteger, NSImageSymbolScale) {
    NSImageSymbolScaleSmall = 1,
    NSImageSymbolScaleMedium = 2,
    NSImageSymbolScaleLarge = 3,
} API_AVAILABLE(macos(11.0));
typedef NS_ENUM(NSInteger, NSImageResizingMode) {
    NSImageResizingModeTile = 0,
    NSImageResizingModeStretch = 1,
};

API_AVAILABLE(macos(11.0))
@interface NSImageSymbolConfiguration : NSObject <NSCopying>
+ (instancetype)configurationWithPointSize:(CGFloat)pointSize weight:(NSFontWeight)weight;
+ (instancetype)configurationWithPointSize:(CGFloat)pointSize
                                    weight:(NSFontWeight)weight
                                     scale:(NSImageSymbolScale)scale;
+ (instancetype)configurationWithPaletteColors:(NSArray<NSColor*>*)paletteColors
    API_AVAILABLE(macos(12.0));
+ (instancetype)configurationWithHierarchicalColor:(NSColor*)hierarchicalColor
    API_AVAILABLE(macos(12.0));
- (instancetype)configurationByApplyingConfiguration:(NSImageSymbolConfiguration*)configuration
    API_AVAILABLE(macos(12.0));
@end

@interface NSImage : NSObject <NSCopying>
+ (nullable NSImage*)imageNamed:(NSImageName)name;
+ (nullable instancetype)imageWithSystemSymbolName:(NSString*)name
                          accessibilityDescription:(nullable NSString*)description
    API_AVAILABLE(macos(11.0));
- (nullable NSImage*)imageWithSymbolConfiguration:(NSImageSymbolConfiguration*)configuration
    API_AVAILABLE(macos(11.0));
- (instancetype)initWithSize:(NSSize)size NS_DESIGNATED_INITIALIZER;
- (nullable instancetype)initWithContentsOfFile:(NSString*)fileName;
- (nullable instancetype)initWithData:(NSData*)data;
+ (NSImage*)imageWithSize:(NSSize)size
                  flipped:(BOOL)drawingHandlerShouldBeCalledWithFlippedContext
           drawingHandler:(BOOL (^)(NSRect dstRect))drawingHandler;
@property NSSize size;
// The documented property "template"; the word belongs to C++, so here by its two methods.
- (BOOL)isTemplate;
- (void)setTemplate:(BOOL)isTemplate;
@property NSImageResizingMode resizingMode;
@property NSEdgeInsets capInsets;
@property(nullable, copy) NSString* accessibilityDescription;
- (void)drawInRect:(NSRect)rect;
- (instancetype)initWithCGImage:(CGImageRef)cgImage size:(NSSize)size;
- (nullable CGImageRef)CGImageForProposedRect:(nullable NSRect*)proposedDestRect
                                      context:(nullable NSGraphicsContext*)referenceContext
                                        hints:(nullable NSDictionary<NSImageHintKey, id>*)hints
    CF_RETURNS_NOT_RETAINED;
@end

@interface NSGraphicsContext : NSObject
@property(class, nullable, strong) NSGraphicsContext* currentContext;
@property(readonly) CGContextRef CGContext;
+ (NSGraphicsContext*)graphicsContextWithCGContext:(CGContextRef)graphicsPort
                                           flipped:(BOOL)initialFlippedState;
+ (void)saveGraphicsState;
+ (void)restoreGraphicsState;
@end

@interface NSColorSpace : NSObject
@property(class, readonly, strong) NSColorSpace* sRGBColorSpace;
@end

@interface NSColor : NSObject <NSCopying>
@property(class, readonly, strong) NSColor* clearColor;
@property(class, readonly, strong) NSColor* blackColor;
@property(class, readonly, strong) NSColor* whiteColor;
@property(class, readonly, strong) NSColor* labelColor;
@property(class, readonly, strong) NSColor* secondaryLabelColor;
@property(class, readonly, strong) NSColor* windowBackgroundColor;
@property(class, readonly, strong) NSColor* controlAccentColor;
@property(class, readonly, strong) NSColor* systemRedColor;
@property(class, readonly, strong) NSColor* systemOrangeColor;
+ (NSColor*)colorWithSRGBRed:(CGFloat)red
                       green:(CGFloat)green
                        blue:(CGFloat)blue
                       alpha:(CGFloat)alpha;
- (nullable NSColor*)colorUsingColorSpace:(NSColorSpace*)space;
@property(readonly) CGColorRef CGColor;
@property(readonly) CGFloat redComponent;
@property(readonly) CGFloat greenComponent;
@property(readonly) CGFloat blueComponent;
@property(readonly) CGFloat alphaComponent;
@end

NS_ASSUME_NONNULL_END
