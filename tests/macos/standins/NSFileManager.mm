// The file manager, on this machine's disk.

#include "NSFileManager.h"

#include "Described.h"

#include <filesystem>
#include <system_error>

namespace fs = std::filesystem;

namespace standins {

NSArray<NSURL*>* __strong& applicationSupport()
{
    static NSArray<NSURL*>* folders = nil;
    return folders;
}

} // namespace standins

@implementation NSEnumerator {
@public
    NSArray* _items;
}
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length
{
    return [_items countByEnumeratingWithState:state objects:buffer count:length];
}
@end

@implementation NSDirectoryEnumerator
@end

@implementation NSFileManager
+ (NSFileManager*)defaultManager
{
    static NSFileManager* manager = [[NSFileManager alloc] init];
    return manager;
}
- (NSArray*)URLsForDirectory:(NSSearchPathDirectory)directory
                   inDomains:(NSSearchPathDomainMask)domains
{
    standins::note(self, _cmd, directory, domains);
    return standins::applicationSupport();
}
- (BOOL)fileExistsAtPath:(NSString*)path
{
    standins::note(self, _cmd, path);
    std::error_code ignored;
    return fs::exists(path.UTF8String, ignored);
}
- (BOOL)createDirectoryAtURL:(NSURL*)url
    withIntermediateDirectories:(BOOL)intermediate
                     attributes:(NSDictionary*)attributes
                          error:(NSError**)error
{
    (void)error;
    standins::note(self, _cmd, url, intermediate, attributes);
    std::error_code failure;
    const fs::path path = url.path.UTF8String;
    intermediate ? fs::create_directories(path, failure) : fs::create_directory(path, failure);
    return !failure;
}
- (NSDirectoryEnumerator*)enumeratorAtURL:(NSURL*)url
               includingPropertiesForKeys:(NSArray*)keys
                                  options:(NSDirectoryEnumerationOptions)options
                             errorHandler:(BOOL (^)(NSURL*, NSError*))handler
{
    standins::note(self, _cmd, url, keys, options, handler != nullptr);
    NSMutableArray* items = [NSMutableArray array];
    std::error_code failure;
    const auto skip = fs::directory_options::skip_permission_denied;
    for (fs::recursive_directory_iterator at(url.path.UTF8String, skip, failure), end;
         !failure && at != end; at.increment(failure))
        [items
            addObject:[NSURL fileURLWithPath:[NSString stringWithUTF8String:at->path().c_str()]]];
    NSDirectoryEnumerator* found = [[NSDirectoryEnumerator alloc] init];
    found->_items = items;
    return found;
}
@end
