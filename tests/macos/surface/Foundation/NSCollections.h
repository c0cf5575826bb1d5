#pragma once

#include <Foundation/NSString.h>

NS_ASSUME_NONNULL_BEGIN

// foundation/nsenumerator: "An abstract class whose subclasses enumerate collections of objects,
// such as arrays and dictionaries."
@interface NSEnumerator<ObjectType> : NSObject <NSFastEnumeration>
@end

// foundation/nsarray: "An object representing a static ordered collection, for use instead of an
// Array constant in cases that require reference semantics."
@interface NSArray<__covariant ObjectType>
    : NSObject <NSCopying, NSMutableCopying, NSFastEnumeration>
// foundation/nsarray/1409982-count: "The number of objects in the array."
@property(readonly) NSUInteger count;
// foundation/nsarray/1417555-object: "Returns the object located at the specified index."
- (ObjectType)objectAtIndex:(NSUInteger)index;
@end

@interface NSArray <ObjectType>(NSExtendedArray)
// foundation/nsarray/1412852-firstobject: "The first object in the array."
@property(nullable, nonatomic, readonly) ObjectType firstObject;
// foundation/nsarray/1408316-lastobject: "The last object in the array."
@property(nullable, nonatomic, readonly) ObjectType lastObject;
// foundation/nsarray/1407477-contains: "Returns a Boolean value that indicates whether a given
// object is present in the array."
- (BOOL)containsObject:(ObjectType)anObject;
// foundation/nsarray/1414084-subscript: "Returns the object at the specified index."
- (ObjectType)objectAtIndexedSubscript:(NSUInteger)idx;
@end

@interface NSArray <ObjectType>(NSArrayCreation)
// foundation/nsarray/1460120-array: "Creates and returns an empty array."
+ (instancetype)array;
// foundation/nsarray/1411981-init: "Creates and returns an array containing a given object."
+ (instancetype)arrayWithObject:(ObjectType)anObject;
// foundation/nsarray/1460096-init: "Creates and returns an array that includes a given number of
// objects from a given C array."
+ (instancetype)arrayWithObjects:(const ObjectType _Nonnull[_Nonnull])objects count:(NSUInteger)cnt;
@end

// foundation/nsmutablearray: "An object representing a dynamic ordered collection, for use instead
// of an Array variable in cases that require reference semantics."
@interface NSMutableArray<ObjectType> : NSArray <ObjectType>
// foundation/nsmutablearray/1411274-add: "Inserts a given object at the end of the array."
- (void)addObject:(ObjectType)anObject;
@end

@interface NSMutableArray <ObjectType>(NSMutableArrayCreation)
// foundation/nsmutablearray/1460057-arraywithcapacity: "Creates and returns an NSMutableArray
// object with enough allocated memory to initially hold a given number of objects."
+ (instancetype)arrayWithCapacity:(NSUInteger)numItems;
@end

// foundation/nsdictionary: "An object representing a static collection of key-value pairs, for use
// instead of a Dictionary constant in cases that require reference semantics."
@interface NSDictionary<__covariant KeyType, __covariant ObjectType>
    : NSObject <NSCopying, NSMutableCopying, NSFastEnumeration>
// foundation/nsdictionary/1409628-count: "The number of entries in the dictionary."
@property(readonly) NSUInteger count;
// foundation/nsdictionary/1414347-object: "Returns the value associated with a given key."
- (nullable ObjectType)objectForKey:(KeyType)aKey;
@end

@interface NSDictionary <KeyType, ObjectType>(NSExtendedDictionary)
// foundation/nsdictionary/1409150-allkeys: "A new array containing the dictionary’s keys, or an
// empty array if the dictionary has no entries."
@property(readonly, copy) NSArray<KeyType>* allKeys;
// foundation/nsdictionary/1415430-subscript: "Returns the value associated with a given key."
- (nullable ObjectType)objectForKeyedSubscript:(KeyType)key;
@end

@interface NSDictionary <KeyType, ObjectType>(NSDictionaryCreation)
// unconfirmed: docs.rs/objc2-foundation/NSDictionary: "pub fn dictionary() -> Retained<Self>"
+ (instancetype)dictionary;
// foundation/nsdictionary/1414965-init: "Creates a dictionary containing a given key and value."
+ (instancetype)dictionaryWithObject:(ObjectType)object forKey:(KeyType<NSCopying>)key;
// foundation/nsdictionary/1574184-dictionarywithobjects: "Creates a dictionary containing a
// specified number of objects from a C array."
+ (instancetype)dictionaryWithObjects:(const ObjectType _Nonnull[_Nullable])objects
                              forKeys:(const KeyType<NSCopying> _Nonnull[_Nullable])keys
                                count:(NSUInteger)cnt;
@end

// foundation/nsmutabledictionary: "An object representing a dynamic collection of key-value pairs,
// for use instead of a Dictionary variable in cases that require reference semantics."
@interface NSMutableDictionary<KeyType, ObjectType> : NSDictionary <KeyType, ObjectType>
// foundation/nsmutabledictionary/1416518-removeobject: "Removes a given key and its associated
// value from the dictionary."
- (void)removeObjectForKey:(KeyType)aKey;
// foundation/nsmutabledictionary/1411616-setobject: "Adds a given key-value pair to the
// dictionary."
- (void)setObject:(ObjectType)anObject forKey:(KeyType<NSCopying>)aKey;
@end

@interface NSMutableDictionary <KeyType, ObjectType>(NSExtendedMutableDictionary)
// foundation/nsmutabledictionary/1574187-setobject: "Adds a given key-value pair to the
// dictionary."
- (void)setObject:(nullable ObjectType)obj forKeyedSubscript:(KeyType<NSCopying>)key;
@end

// foundation/nsset: "An object representing a static, unordered collection of unique objects."
@interface NSSet<__covariant ObjectType> : NSObject <NSCopying, NSMutableCopying, NSFastEnumeration>
// foundation/nsset/1416229-count: "The number of members in the set."
@property(readonly) NSUInteger count;
@end

@interface NSSet <ObjectType>(NSExtendedSet)
// foundation/nsset/1414555-contains: "Returns a Boolean value that indicates whether a given
// object is present in the set."
- (BOOL)containsObject:(ObjectType)anObject;
@end

NS_ASSUME_NONNULL_END
