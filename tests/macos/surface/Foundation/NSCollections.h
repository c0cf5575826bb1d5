#pragma once

#include <Foundation/NSString.h>

NS_ASSUME_NONNULL_BEGIN

@interface NSEnumerator<ObjectType> : NSObject <NSFastEnumeration>
- (nullable ObjectType)nextObject;
@end

@interface NSEnumerator <ObjectType>(NSExtendedEnumerator)
@property(readonly, copy) NSArray<ObjectType>* allObjects;
@end

@interface NSArray<__covariant ObjectType>
    : NSObject <NSCopying, NSMutableCopying, NSFastEnumeration>
@property(readonly) NSUInteger count;
- (ObjectType)objectAtIndex:(NSUInteger)index;
@end

@interface NSArray <ObjectType>(NSExtendedArray)
@property(nullable, nonatomic, readonly) ObjectType firstObject;
@property(nullable, nonatomic, readonly) ObjectType lastObject;
- (BOOL)containsObject:(ObjectType)anObject;
- (NSUInteger)indexOfObject:(ObjectType)anObject;
- (NSString*)componentsJoinedByString:(NSString*)separator;
- (ObjectType)objectAtIndexedSubscript:(NSUInteger)idx;
@end

@interface NSArray <ObjectType>(NSArrayCreation)
+ (instancetype)array;
+ (instancetype)arrayWithObject:(ObjectType)anObject;
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull[_Nonnull])objects count:(NSUInteger)cnt;
+ (instancetype)arrayWithArray:(NSArray<ObjectType>*)array;
@end

@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
- (void)addObject:(ObjectType)anObject;
@end

@interface NSMutableArray <ObjectType>(NSMutableArrayCreation)
+ (instancetype)arrayWithCapacity:(NSUInteger)numItems;
@end

@interface NSDictionary<__covariant KeyType, __covariant ObjectType>
    : NSObject <NSCopying, NSMutableCopying, NSFastEnumeration>
@property(readonly) NSUInteger count;
- (nullable ObjectType)objectForKey:(KeyType)aKey;
@end

@interface NSDictionary <KeyType, ObjectType>(NSExtendedDictionary)
@property(readonly, copy) NSArray<KeyType>* allKeys;
@property(readonly, copy) NSArray<ObjectType>* allValues;
- (nullable ObjectType)objectForKeyedSubscript:(KeyType)key;
- (void)enumerateKeysAndObjectsUsingBlock:(void(NS_NOESCAPE ^)(KeyType key, ObjectType obj,
                                                               BOOL* stop))block;
@end

@interface NSDictionary <KeyType, ObjectType>(NSDictionaryCreation)
+ (instancetype)dictionary;
+ (instancetype)dictionaryWithObject:(ObjectType)object forKey:(KeyType<NSCopying>)key;
+ (instancetype)dictionaryWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                              forKeys:(const KeyType<NSCopying> _Nonnull[_Nullable])keys
                                count:(NSUInteger)cnt;
+ (instancetype)dictionaryWithDictionary:(NSDictionary<KeyType, ObjectType>*)dict;
@end

@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary <KeyType, ObjectType>
- (void)removeObjectForKey:(KeyType)aKey;
- (void)setObject:(ObjectType)anObject forKey:(KeyType<NSCopying>)aKey;
@end

@interface NSMutableDictionary <KeyType, ObjectType>(NSExtendedMutableDictionary)
- (void)setObject:(nullable ObjectType)obj forKeyedSubscript:(KeyType<NSCopying>)key;
@end

@interface NSSet<__covariant ObjectType> : NSObject <NSCopying, NSMutableCopying, NSFastEnumeration>
@property(readonly) NSUInteger count;
@end

@interface NSSet <ObjectType>(NSExtendedSet)
@property(readonly, copy) NSArray<ObjectType>* allObjects;
- (BOOL)containsObject:(ObjectType)anObject;
@end

@interface NSSet <ObjectType>(NSSetCreation)
+ (instancetype)setWithObject:(ObjectType)object;
+ (instancetype)setWithArray:(NSArray<ObjectType>*)array;
@end

@interface NSNull : NSObject
+ (NSNull*)null;
@end

NS_ASSUME_NONNULL_END
