#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

@class NSColor;
@class NSGraphicsContext;

// appkit/nsfont/weight: "System-defined font-weight values."
typedef CGFloat NSFontWeight NS_TYPED_EXTENSIBLE_ENUM;
// docs.rs/objc2-app-kit: "pub static NSFontWeightRegular: NSFontWeight"
APPKIT_EXTERN const NSFontWeight NSFontWeightRegular;
// docs.rs/objc2-app-kit: "pub static NSFontWeightMedium: NSFontWeight"
APPKIT_EXTERN const NSFontWeight NSFontWeightMedium;
// docs.rs/objc2-app-kit: "pub static NSFontWeightSemibold: NSFontWeight"
APPKIT_EXTERN const NSFontWeight NSFontWeightSemibold;

// appkit/nsimage/name-swift.typealias: "Named images, defined by the system or you, for use in
// your app."
typedef NSString* NSImageName NS_TYPED_EXTENSIBLE_ENUM;
// appkit/nsimagerep/hintkey: "Constants for the keys to include in a hints dictionary when drawing
// the image."
typedef NSString* NSImageHintKey NS_TYPED_EXTENSIBLE_ENUM;
// appkit/nsimage/symbolscale: "Constants that specify which scale variant of a symbol image to
// use."
typedef NS_ENUM(NSInteger, NSImageSymbolScale) {
    // appkit/nsimage/symbolscale/small: "The symbol uses the small scale variant."
    NSImageSymbolScaleSmall = 1,
    // appkit/nsimage/symbolscale/medium: "The symbol uses the default medium scale variant."
    NSImageSymbolScaleMedium = 2,
    // appkit/nsimage/symbolscale/large: "The symbol uses the large scale variant."
    NSImageSymbolScaleLarge = 3,
} API_AVAILABLE(macos(11.0));
// appkit/nsimage/resizingmode-swift.enum: "Constants that describe the resizing mode for the
// image."
typedef NS_ENUM(NSInteger, NSImageResizingMode) {
    // appkit/nsimage/resizingmode-swift.enum/tile: "The image tiles when it resizes."
    NSImageResizingModeTile = 0,
    // appkit/nsimage/resizingmode-swift.enum/stretch: "The image stretches when it resizes."
    NSImageResizingModeStretch = 1,
};

// appkit/nsimage/symbolconfiguration-swift.class: "An object that contains the specific font,
// style, and weight attributes to apply to a symbol image."
API_AVAILABLE(macos(11.0))
@interface NSImageSymbolConfiguration : NSObject <NSCopying>
// appkit/nsimage/symbolconfiguration-swift.class/init(pointsize:weight:): "Creates a symbol
// configuration with the specified point size and font weight."
+ (instancetype)configurationWithPointSize:(CGFloat)pointSize weight:(NSFontWeight)weight;
// appkit/nsimage/symbolconfiguration-swift.class/init(pointsize:weight:scale:): "Creates a symbol
// configuration with the specified point size, font weight, and symbol scale."
+ (instancetype)configurationWithPointSize:(CGFloat)pointSize
                                    weight:(NSFontWeight)weight
                                     scale:(NSImageSymbolScale)scale;
// appkit/nsimage/symbolconfiguration-swift.class/init(palettecolors:): "Creates a color
// configuration by specifying a palette of colors."
+ (instancetype)configurationWithPaletteColors:(NSArray<NSColor*>*)paletteColors
    // appkit/nsimage/symbolconfiguration-swift.class/init(hierarchicalcolor:): "Creates a
    // hierarchical color configuration using the color you specify."
    API_AVAILABLE(macos(12.0));
+ (instancetype)configurationWithHierarchicalColor:(NSColor*)hierarchicalColor
    // appkit/nsimage/symbolconfiguration-swift.class/applying(_:): "Creates a configuration object
    // by applying the values from the configuration you specify."
    API_AVAILABLE(macos(12.0));
- (instancetype)configurationByApplyingConfiguration:(NSImageSymbolConfiguration*)configuration
    API_AVAILABLE(macos(12.0));
@end

// appkit/nsimage: "A high-level interface for manipulating image data."
@interface NSImage : NSObject <NSCopying>
// appkit/nsimage/init(named:): "Returns the image object associated with the specified name."
+ (nullable NSImage*)imageNamed:(NSImageName)name;
// appkit/nsimage/init(systemsymbolname:accessibilitydescription:): "Creates a symbol image with
// the system symbol name and accessibility description you specify."
+ (nullable instancetype)imageWithSystemSymbolName:(NSString*)name
                          accessibilityDescription:(nullable NSString*)description
    // appkit/nsimage/withsymbolconfiguration(_:): "Creates a new symbol image with the specified
    // configuration."
    API_AVAILABLE(macos(11.0));
- (nullable NSImage*)imageWithSymbolConfiguration:(NSImageSymbolConfiguration*)configuration
    // appkit/nsimage/init(size:): "Initializes and returns an image object with the specified
    // dimensions."
    API_AVAILABLE(macos(11.0));
- (instancetype)initWithSize:(NSSize)size NS_DESIGNATED_INITIALIZER;
// appkit/nsimage/init(contentsoffile:): "Initializes and returns an image object with the contents
// of the specified file."
- (nullable instancetype)initWithContentsOfFile:(NSString*)fileName;
// appkit/nsimage/init(data:): "Initializes and returns an image object using the provided image
// data."
- (nullable instancetype)initWithData:(NSData*)data;
// appkit/nsimage/init(size:flipped:drawinghandler:): "Creates and returns an image object whose
// contents are drawn using the specified block."
+ (NSImage*)imageWithSize:(NSSize)size
                  flipped:(BOOL)drawingHandlerShouldBeCalledWithFlippedContext
           drawingHandler:(BOOL (^)(NSRect dstRect))drawingHandler;
// appkit/nsimage/size: "The size of the image."
@property NSSize size;
// The documented property "template"; the word belongs to C++, so here by its two methods.
// appkit/nsimage/istemplate: "A Boolean value that determines whether the image represents a
// template image."
- (BOOL)isTemplate;
// docs.rs/objc2-app-kit/NSImage: "pub fn setTemplate(&self, template: bool)"
- (void)setTemplate:(BOOL)isTemplate;
// appkit/nsimage/resizingmode-swift.property: "The resizing mode for the image."
@property NSImageResizingMode resizingMode;
// appkit/nsimage/capinsets: "The cap insets for the image."
@property NSEdgeInsets capInsets;
// appkit/nsimage/accessibilitydescription: "The image’s accessibility description."
@property(nullable, copy) NSString* accessibilityDescription;
// appkit/nsimage/draw(in:): "Draws the image in the specified rectangle."
- (void)drawInRect:(NSRect)rect;
// appkit/nsimage/init(cgimage:size:): "Creates a new image using the contents of the provided
// image."
- (instancetype)initWithCGImage:(CGImageRef)cgImage size:(NSSize)size;
// appkit/nsimage/cgimage(forproposedrect:context:hints:): "Returns a Core Graphics image based on
// the contents of the current image object."
- (nullable CGImageRef)CGImageForProposedRect:(nullable NSRect*)proposedDestRect
                                      context:(nullable NSGraphicsContext*)referenceContext
                                        hints:(nullable NSDictionary<NSImageHintKey, id>*)hints
    CF_RETURNS_NOT_RETAINED;
@end

// appkit/nsgraphicscontext: "An object that represents a graphics context."
@interface NSGraphicsContext : NSObject
// appkit/nsgraphicscontext/current: "Returns the current graphics context of the current thread."
@property(class, nullable, strong) NSGraphicsContext* currentContext;
// appkit/nsgraphicscontext/cgcontext: "The Core Graphics context, which is a low-level,
// platform-specific graphics context."
@property(readonly) CGContextRef CGContext;
// appkit/nsgraphicscontext/init(cgcontext:flipped:): "Creates a new graphics context from the
// specified Core Graphics context and the initial flipped state."
+ (NSGraphicsContext*)graphicsContextWithCGContext:(CGContextRef)graphicsPort
                                           flipped:(BOOL)initialFlippedState;
// appkit/nsgraphicscontext/savegraphicsstate()-swift.type.method: "Saves the graphics state of the
// current graphics context."
+ (void)saveGraphicsState;
// appkit/nsgraphicscontext/restoregraphicsstate()-swift.type.method: "Pops a graphics context from
// the per-thread stack, makes it current, and sends the context a restore graphics state message."
+ (void)restoreGraphicsState;
@end

// appkit/nscolorspace: "An object that represents a custom color space."
@interface NSColorSpace : NSObject
// appkit/nscolorspace/srgb: "A color space object that represents an sRGB color space."
@property(class, readonly, strong) NSColorSpace* sRGBColorSpace;
@end

// appkit/nscolor: "An object that stores color data and sometimes opacity (alpha value)."
@interface NSColor : NSObject <NSCopying>
// appkit/nscolor/clear: "Returns a color object whose grayscale and alpha values are both 0.0."
@property(class, readonly, strong) NSColor* clearColor;
// appkit/nscolor/black: "Returns a color object whose grayscale value is 0.0 and whose alpha value
// is 1.0."
@property(class, readonly, strong) NSColor* blackColor;
// appkit/nscolor/white: "Returns a color object whose grayscale and alpha values are both 1.0."
@property(class, readonly, strong) NSColor* whiteColor;
// appkit/nscolor/labelcolor: "The primary color to use for text labels."
@property(class, readonly, strong) NSColor* labelColor;
// appkit/nscolor/secondarylabelcolor: "The secondary color to use for text labels."
@property(class, readonly, strong) NSColor* secondaryLabelColor;
// appkit/nscolor/windowbackgroundcolor: "The color to use for the window background."
@property(class, readonly, strong) NSColor* windowBackgroundColor;
// appkit/nscolor/controlaccentcolor: "The user’s current accent color preference."
@property(class, readonly, strong) NSColor* controlAccentColor;
// appkit/nscolor/systemred: "Returns a color object for red that automatically adapts to vibrancy
// and accessibility settings."
@property(class, readonly, strong) NSColor* systemRedColor;
// appkit/nscolor/systemorange: "Returns a color object for orange that automatically adapts to
// vibrancy and accessibility settings."
@property(class, readonly, strong) NSColor* systemOrangeColor;
// appkit/nscolor/init(srgbred:green:blue:alpha:): "Creates a color object from the specified
// components in the sRGB colorspace."
+ (NSColor*)colorWithSRGBRed:(CGFloat)red
                       green:(CGFloat)green
                        blue:(CGFloat)blue
                       alpha:(CGFloat)alpha;
// appkit/nscolor/usingcolorspace(_:): "Creates a new color object representing the color of the
// current color object in the specified color space."
- (nullable NSColor*)colorUsingColorSpace:(NSColorSpace*)space;
// appkit/nscolor/cgcolor: "The Core Graphics color object corresponding to the color."
@property(readonly) CGColorRef CGColor;
// appkit/nscolor/redcomponent: "The red component value of the color."
@property(readonly) CGFloat redComponent;
// appkit/nscolor/greencomponent: "The green component value of the color."
@property(readonly) CGFloat greenComponent;
// appkit/nscolor/bluecomponent: "The blue component value of the color."
@property(readonly) CGFloat blueComponent;
// appkit/nscolor/alphacomponent: "The alpha (opacity) component value of the color."
@property(readonly) CGFloat alphaComponent;
@end

NS_ASSUME_NONNULL_END
