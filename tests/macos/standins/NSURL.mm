// Addresses, of files and others, as far as they are asked for.

#import <Foundation/Foundation.h>

#include <sys/stat.h>

NSURLResourceKey const NSURLTotalFileAllocatedSizeKey = @"NSURLTotalFileAllocatedSizeKey";

@implementation NSURL {
    NSString* _text;
    NSString* _path;
}
+ (BOOL)supportsSecureCoding
{
    return YES;
}
+ (instancetype)URLWithString:(NSString*)text
{
    // What has no place in an address makes it none.
    if (text.length == 0 || [text containsString:@" "])
        return nil;
    NSURL* address = [[self alloc] init];
    address->_text = [text copy];
    return address;
}
+ (NSURL*)fileURLWithPath:(NSString*)path
{
    NSURL* address = [[self alloc] init];
    address->_path = [path copy];
    address->_text = [@"file://" stringByAppendingString:path];
    return address;
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
- (NSString*)path
{
    return _path;
}
- (const char*)fileSystemRepresentation
{
    return _path.fileSystemRepresentation;
}
- (BOOL)isFileURL
{
    return _path != nil;
}
- (NSString*)lastPathComponent
{
    return _path.lastPathComponent;
}
// A folder has no size of its own, and what cannot be read has none.
- (BOOL)getResourceValue:(id*)value forKey:(NSURLResourceKey)key error:(NSError**)error
{
    (void)error;
    struct stat item = {};
    const bool isRead = ::lstat(self.path.UTF8String, &item) == 0;
    constexpr unsigned long long blockSize = 512;
    if (isRead && !S_ISDIR(item.st_mode) && [key isEqualToString:NSURLTotalFileAllocatedSizeKey])
        *value = [NSNumber numberWithUnsignedLongLong:item.st_blocks * blockSize];
    return isRead;
}
- (NSUInteger)hash
{
    return _text.hash;
}
- (BOOL)isEqual:(id)object
{
    return [object isKindOfClass:NSURL.class] && [_text isEqualToString:((NSURL*)object)->_text];
}
- (NSString*)description
{
    return _text;
}
@end
