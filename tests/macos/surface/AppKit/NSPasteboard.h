#pragma once

#include <AppKit/NSResponder.h>

NS_ASSUME_NONNULL_BEGIN

typedef NSString* NSPasteboardType NS_TYPED_EXTENSIBLE_ENUM;
APPKIT_EXTERN NSPasteboardType const NSPasteboardTypeString;

@class NSPasteboardItem;

@protocol NSPasteboardWriting <NSObject>
@end

@interface NSPasteboard : NSObject
@property(class, readonly, strong) NSPasteboard* generalPasteboard;
@property(readonly) NSInteger changeCount;
@property(nullable, readonly, copy) NSArray<NSPasteboardItem*>* pasteboardItems;
@property(nullable, readonly, copy) NSArray<NSPasteboardType>* types;
- (NSInteger)clearContents;
- (BOOL)writeObjects:(NSArray<id<NSPasteboardWriting>>*)objects;
- (BOOL)setString:(NSString*)string forType:(NSPasteboardType)dataType;
- (nullable NSString*)stringForType:(NSPasteboardType)dataType;
@end

@interface NSPasteboardItem : NSObject <NSPasteboardWriting>
@property(readonly, copy) NSArray<NSPasteboardType>* types;
- (BOOL)setData:(NSData*)data forType:(NSPasteboardType)type;
- (nullable NSData*)dataForType:(NSPasteboardType)type;
@end

NS_ASSUME_NONNULL_END
