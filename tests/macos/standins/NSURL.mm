// Addresses, of files and others, as far as they are asked for.

#import <Foundation/Foundation.h>

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
