// A pasteboard that holds what is written to it, and tells what was asked of it.

#include "Recorder.h"

#import <AppKit/NSPasteboard.h>

#include <string>

NSPasteboardType const NSPasteboardTypeString = @"public.utf8-plain-text";

@implementation NSPasteboardItem {
    NSMutableArray* _types;
    NSMutableDictionary* _data;
}
- (instancetype)init
{
    self = [super init];
    _types = [NSMutableArray array];
    _data = [NSMutableDictionary dictionary];
    return self;
}
- (NSArray*)types
{
    return [_types copy];
}
- (BOOL)setData:(NSData*)data forType:(NSPasteboardType)type
{
    standins::note(std::string("-[NSPasteboardItem setData:forType:] ") + type.UTF8String);
    if (![_types containsObject:type])
        [_types addObject:type];
    _data[type] = data;
    return YES;
}
- (NSData*)dataForType:(NSPasteboardType)type
{
    return _data[type];
}
@end

@implementation NSPasteboard {
    NSArray* _items;
    NSInteger _changeCount;
}
+ (NSPasteboard*)generalPasteboard
{
    static NSPasteboard* general = [[NSPasteboard alloc] init];
    return general;
}
- (NSInteger)changeCount
{
    return _changeCount;
}
- (NSArray*)pasteboardItems
{
    standins::note("-[NSPasteboard pasteboardItems]");
    return _items;
}
- (NSInteger)clearContents
{
    standins::note("-[NSPasteboard clearContents]");
    _items = [NSArray array];
    return ++_changeCount;
}
- (BOOL)setString:(NSString*)string forType:(NSPasteboardType)type
{
    standins::note(std::string("-[NSPasteboard setString:forType:] ") + string.UTF8String + " " +
                   type.UTF8String);
    NSPasteboardItem* item = [[NSPasteboardItem alloc] init];
    const std::string bytes = string.UTF8String;
    [item setData:[NSData dataWithBytes:bytes.data() length:bytes.size()] forType:type];
    _items = @[ item ];
    return YES;
}
- (BOOL)writeObjects:(NSArray*)objects
{
    standins::note("-[NSPasteboard writeObjects:] " + std::to_string(objects.count));
    NSMutableArray* items = [NSMutableArray array];
    for (id item in _items)
        [items addObject:item];
    for (id item in objects)
        [items addObject:item];
    _items = items;
    return YES;
}
@end
