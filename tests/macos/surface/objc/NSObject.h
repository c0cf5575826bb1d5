#pragma once

#include <objc/NSObjCRuntime.h>

NS_ASSUME_NONNULL_BEGIN

@class NSString;

// unconfirmed: objectivec/nsobjectprotocol: "The group of methods that are fundamental to all
// Objective-C objects."
@protocol NSObject
// objectivec/nsobjectprotocol/1418795-isequal: "Returns a Boolean value that indicates whether the
// receiver and a given object are equal."
- (BOOL)isEqual:(nullable id)object;
// objectivec/nsobjectprotocol/1418859-hash: "Returns an integer that can be used as a table
// address in a hash table structure."
@property(readonly) NSUInteger hash;
// unconfirmed: objectivec/1418956-nsobject/1571949-class: "Returns the class object for the
// receiver’s class."
- (Class)class;
// unconfirmed: objectivec/nsobjectprotocol/1418954-self: "Returns the receiver."
- (instancetype)self;
// objectivec/nsobjectprotocol/1418511-iskind: "Returns a Boolean value that indicates whether the
// receiver is an instance of given class or an instance of any class that inherits from that
// class."
- (BOOL)isKindOfClass:(Class)aClass;
// objectivec/nsobjectprotocol/1418515-conforms: "Returns a Boolean value that indicates whether
// the receiver conforms to a given protocol."
- (BOOL)conformsToProtocol:(Protocol*)aProtocol;
// objectivec/nsobjectprotocol/1418583-responds: "Returns a Boolean value that indicates whether
// the receiver implements or inherits a method that can respond to a specified message."
- (BOOL)respondsToSelector:(SEL)aSelector;
// unconfirmed: objectivec/nsobjectprotocol/1418746-description: "A textual representation of the
// receiver."
@property(readonly, copy) NSString* description;
#if !__has_feature(objc_arc)
- (instancetype)retain;
- (oneway void)release;
- (instancetype)autorelease;
#endif
@end

// unconfirmed: objectivec/nsobject: "The root class of most Objective-C class hierarchies, from
// which subclasses inherit a basic interface to the runtime system and the ability to behave as
// Objective-C objects."
__attribute__((objc_root_class))
@interface NSObject<NSObject> {
    Class isa;
}
// unconfirmed: objectivec/nsobject/1418641-init: "Implemented by subclasses to initialize a new
// object (the receiver) immediately after memory for it has been allocated."
- (instancetype)init;
// unconfirmed: objectivec/nsobject/1571948-new: "Allocates a new instance of the receiving class,
// sends it an init message, and returns the initialized object."
+ (instancetype)new;
// unconfirmed: objectivec/nsobject/1571958-alloc: "Returns a new instance of the receiving class."
+ (instancetype)alloc;
// unconfirmed: objectivec/nsobject/1571947-dealloc: "Deallocates the memory occupied by the
// receiver."
- (void)dealloc;
// objectivec/nsobject/1418807-copy: "Returns the object returned by copy(with:)."
- (id)copy;
// objectivec/nsobject/1418978-mutablecopy: "Returns the object returned by mutableCopy(with:)
// where the zone is nil."
- (id)mutableCopy;
// unconfirmed: objectivec/nsobject/1571950-class: "Returns the class object."
+ (Class)class;
// objectivec/nsobject/1418555-instancesrespond: "Returns a Boolean value that indicates whether
// instances of the receiver are capable of responding to a given selector."
+ (BOOL)instancesRespondToSelector:(SEL)aSelector;
@end

NS_ASSUME_NONNULL_END
