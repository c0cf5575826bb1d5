#pragma once

#include <Foundation/NSValues.h>

NS_ASSUME_NONNULL_BEGIN

typedef NSString* NSURLResourceKey NS_TYPED_EXTENSIBLE_ENUM;
FOUNDATION_EXPORT NSURLResourceKey const NSURLIsDirectoryKey;
FOUNDATION_EXPORT NSURLResourceKey const NSURLFileSizeKey;
FOUNDATION_EXPORT NSURLResourceKey const NSURLTotalFileAllocatedSizeKey;

@interface NSURL : NSObject <NSSecureCoding, NSCopying>
+ (nullable instancetype)URLWithString:(NSString*)URLString;
+ (NSURL*)fileURLWithPath:(NSString*)path isDirectory:(BOOL)isDir;
+ (NSURL*)fileURLWithPath:(NSString*)path;
+ (NSURL*)fileURLWithFileSystemRepresentation:(const char*)path
                                  isDirectory:(BOOL)isDir
                                relativeToURL:(nullable NSURL*)baseURL;
@property(nullable, readonly, copy) NSString* absoluteString;
@property(nullable, readonly, copy) NSString* path;
@property(nullable, readonly, copy) NSString* scheme;
@property(readonly) const char* fileSystemRepresentation NS_RETURNS_INNER_POINTER;
@property(readonly, getter=isFileURL) BOOL fileURL;
- (BOOL)getResourceValue:(out id _Nullable* _Nonnull)value
                  forKey:(NSURLResourceKey)key
                   error:(out NSError* _Nullable* _Nullable)error;
@end

@interface NSURL (NSURLPathUtilities)
@property(nullable, readonly, copy) NSString* lastPathComponent;
@property(nullable, readonly, copy) NSURL* URLByDeletingLastPathComponent;
- (nullable NSURL*)URLByAppendingPathComponent:(NSString*)pathComponent;
- (nullable NSURL*)URLByAppendingPathComponent:(NSString*)pathComponent
                                   isDirectory:(BOOL)isDirectory;
@end

typedef NS_ENUM(NSUInteger, NSSearchPathDirectory) {
    NSCachesDirectory = 13,
    NSApplicationSupportDirectory = 14,
};
typedef NS_OPTIONS(NSUInteger, NSSearchPathDomainMask) {
    NSUserDomainMask = 1,
};
typedef NS_OPTIONS(NSUInteger, NSDirectoryEnumerationOptions) {
    NSDirectoryEnumerationSkipsSubdirectoryDescendants = 1UL << 0,
    NSDirectoryEnumerationSkipsPackageDescendants = 1UL << 1,
    NSDirectoryEnumerationSkipsHiddenFiles = 1UL << 2,
};
typedef NSString* NSFileAttributeKey NS_TYPED_EXTENSIBLE_ENUM;

FOUNDATION_EXPORT NSArray<NSString*>*
NSSearchPathForDirectoriesInDomains(NSSearchPathDirectory directory,
                                    NSSearchPathDomainMask domainMask, BOOL expandTilde);
FOUNDATION_EXPORT NSString* NSHomeDirectory(void);
FOUNDATION_EXPORT NSString* NSTemporaryDirectory(void);

@interface NSDirectoryEnumerator<ObjectType> : NSEnumerator <ObjectType>
@end

@interface NSFileManager : NSObject
@property(class, readonly, strong) NSFileManager* defaultManager;
- (NSArray<NSURL*>*)URLsForDirectory:(NSSearchPathDirectory)directory
                           inDomains:(NSSearchPathDomainMask)domainMask;
- (nullable NSURL*)URLForDirectory:(NSSearchPathDirectory)directory
                          inDomain:(NSSearchPathDomainMask)domain
                 appropriateForURL:(nullable NSURL*)url
                            create:(BOOL)shouldCreate
                             error:(NSError* _Nullable* _Nullable)error;
- (BOOL)fileExistsAtPath:(NSString*)path;
- (BOOL)fileExistsAtPath:(NSString*)path isDirectory:(nullable BOOL*)isDirectory;
- (BOOL)createDirectoryAtURL:(NSURL*)url
    withIntermediateDirectories:(BOOL)createIntermediates
                     attributes:(nullable NSDictionary<NSFileAttributeKey, id>*)attributes
                          error:(NSError* _Nullable* _Nullable)error;
- (BOOL)createDirectoryAtPath:(NSString*)path
    withIntermediateDirectories:(BOOL)createIntermediates
                     attributes:(nullable NSDictionary<NSFileAttributeKey, id>*)attributes
                          error:(NSError* _Nullable* _Nullable)error;
- (BOOL)removeItemAtURL:(NSURL*)URL error:(NSError* _Nullable* _Nullable)error;
- (BOOL)removeItemAtPath:(NSString*)path error:(NSError* _Nullable* _Nullable)error;
- (BOOL)moveItemAtURL:(NSURL*)srcURL
                toURL:(NSURL*)dstURL
                error:(NSError* _Nullable* _Nullable)error;
- (BOOL)moveItemAtPath:(NSString*)srcPath
                toPath:(NSString*)dstPath
                 error:(NSError* _Nullable* _Nullable)error;
- (nullable NSArray<NSString*>*)contentsOfDirectoryAtPath:(NSString*)path
                                                    error:(NSError* _Nullable* _Nullable)error;
- (nullable NSDirectoryEnumerator<NSURL*>*)
               enumeratorAtURL:(NSURL*)url
    includingPropertiesForKeys:(nullable NSArray<NSURLResourceKey>*)keys
                       options:(NSDirectoryEnumerationOptions)mask
                  errorHandler:(nullable BOOL (^)(NSURL* url, NSError* error))handler;
@end

typedef NS_ENUM(NSInteger, NSByteCountFormatterCountStyle) {
    NSByteCountFormatterCountStyleFile = 0,
    NSByteCountFormatterCountStyleMemory = 1,
    NSByteCountFormatterCountStyleDecimal = 2,
    NSByteCountFormatterCountStyleBinary = 3,
};

@interface NSFormatter : NSObject <NSCopying>
@end

@interface NSByteCountFormatter : NSFormatter
+ (NSString*)stringFromByteCount:(long long)byteCount
                      countStyle:(NSByteCountFormatterCountStyle)countStyle;
@end

@interface NSBundle : NSObject
@property(class, readonly, strong) NSBundle* mainBundle;
@property(readonly, copy) NSURL* bundleURL;
@property(readonly, copy) NSString* bundlePath;
@property(nullable, readonly, copy) NSString* bundleIdentifier;
@property(nullable, readonly, copy) NSString* executablePath;
@property(nullable, readonly, copy) NSURL* executableURL;
@property(nullable, readonly, copy) NSString* resourcePath;
@property(nullable, readonly, copy) NSURL* resourceURL;
@property(nullable, readonly, copy) NSDictionary<NSString*, id>* infoDictionary;
- (nullable id)objectForInfoDictionaryKey:(NSString*)key;
- (nullable NSURL*)URLForResource:(nullable NSString*)name withExtension:(nullable NSString*)ext;
- (nullable NSURL*)URLForAuxiliaryExecutable:(NSString*)executableName;
@end

NS_ASSUME_NONNULL_END
