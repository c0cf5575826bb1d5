#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

// appkit/nspasteboard/pasteboardtype: "The supported pasteboard types."
typedef NSString* NSPasteboardType NS_TYPED_EXTENSIBLE_ENUM;
// appkit/nspasteboard/pasteboardtype/string: "String data."
APPKIT_EXTERN NSPasteboardType const NSPasteboardTypeString;

@class NSPasteboardItem;

// appkit/nspasteboardwriting: "A set of methods that defines the interface for retrieving a
// representation of an object that can be written to a pasteboard."
@protocol NSPasteboardWriting <NSObject>
@end

// appkit/nspasteboard: "An object that transfers data to and from the pasteboard server."
@interface NSPasteboard : NSObject
// appkit/nspasteboard/general: "The shared pasteboard object to use for general content."
@property(class, readonly, strong) NSPasteboard* generalPasteboard;
// appkit/nspasteboard/changecount: "The receiver’s change count."
@property(readonly) NSInteger changeCount;
// appkit/nspasteboard/pasteboarditems: "An array that contains all the items held by the
// pasteboard."
@property(nullable, readonly, copy) NSArray<NSPasteboardItem*>* pasteboardItems;
// appkit/nspasteboard/types: "An array of the receiver’s supported data types."
@property(nullable, readonly, copy) NSArray<NSPasteboardType>* types;
// appkit/nspasteboard/clearcontents(): "Clears the existing contents of the pasteboard."
- (NSInteger)clearContents;
// appkit/nspasteboard/writeobjects(_:): "Writes an array of objects to the receiver."
- (BOOL)writeObjects:(NSArray<id<NSPasteboardWriting>>*)objects;
// appkit/nspasteboard/setstring(_:fortype:): "Sets the given string as the representation for the
// specified type for the first item on the receiver."
- (BOOL)setString:(NSString*)string forType:(NSPasteboardType)dataType;
// appkit/nspasteboard/string(fortype:): "Returns a concatenation of the strings for the specified
// type from all the items in the receiver that contain the type."
- (nullable NSString*)stringForType:(NSPasteboardType)dataType;
@end

// appkit/nspasteboarditem: "An item on a pasteboard."
@interface NSPasteboardItem : NSObject <NSPasteboardWriting>
// appkit/nspasteboarditem/types: "An array of uniform type identifier strings of the data types
// that the receiver supports."
@property(readonly, copy) NSArray<NSPasteboardType>* types;
// appkit/nspasteboarditem/setdata(_:fortype:): "Sets the value for a specified type as a data
// object."
- (BOOL)setData:(NSData*)data forType:(NSPasteboardType)type;
// appkit/nspasteboarditem/data(fortype:): "Returns the value for the specified type as a data
// object."
- (nullable NSData*)dataForType:(NSPasteboardType)type;
@end

NS_ASSUME_NONNULL_END
