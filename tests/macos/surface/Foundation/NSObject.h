#pragma once

#include <CoreFoundation/CoreFoundation.h>
#include <objc/NSObject.h>

#define FOUNDATION_EXPORT SURFACE_EXTERN
#define FOUNDATION_EXTERN SURFACE_EXTERN
#define NS_TYPED_ENUM
#define NS_TYPED_EXTENSIBLE_ENUM

NS_ASSUME_NONNULL_BEGIN

@class NSDictionary<KeyType, ObjectType>;
// unconfirmed: foundation/nszone: "A type used to identify and manage memory zones."
typedef struct _NSZone NSZone;

// foundation/nscopying: "A protocol that objects adopt to provide functional copies of
// themselves."
@protocol NSCopying
// foundation/nscopying/1410311-copy: "Returns a new instance that’s a copy of the receiver."
- (id)copyWithZone:(nullable NSZone*)zone;
@end

// foundation/nsmutablecopying: "A protocol that mutable objects adopt to provide functional copies
// of themselves."
@protocol NSMutableCopying
// foundation/nsmutablecopying/1414175-mutablecopy: "Returns a new instance that’s a mutable copy
// of the receiver."
- (id)mutableCopyWithZone:(nullable NSZone*)zone;
@end

// foundation/nssecurecoding: "A protocol that enables encoding and decoding in a manner that is
// robust against object substitution attacks."
@protocol NSSecureCoding
// foundation/nssecurecoding/1855946-supportssecurecoding: "A Boolean value that indicates whether
// or not the class supports secure coding."
@property(class, readonly) BOOL supportsSecureCoding;
@end

// foundation/nsfastenumerationstate: "This defines the structure used as contextual information in
// the NSFastEnumeration protocol."
typedef struct {
    unsigned long state;
    id __unsafe_unretained _Nullable* _Nullable itemsPtr;
    unsigned long* _Nullable mutationsPtr;
    unsigned long extra[5];
} NSFastEnumerationState;

// foundation/nsfastenumeration: "A protocol that objects adopt to support fast enumeration."
@protocol NSFastEnumeration
// docs.rs/objc2-foundation/NSFastEnumeration: "unsafe fn
// countByEnumeratingWithState_objects_count(&self, state: &mut NSFastEnumerationState, buffer:
// NonNull<*mut AnyObject>, len: NSUInteger) …"
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained _Nullable[_Nonnull])buffer
                                    count:(NSUInteger)len;
@end

// foundation/nsrange-jio: "A Swift-only concrete structure that backs the range type alias."
typedef struct _NSRange {
    NSUInteger location;
    NSUInteger length;
} NSRange;
// On no page that we have read; the bindings for Python have it, with as many arguments.
static inline NSRange NSMakeRange(NSUInteger loc, NSUInteger len)
{
    NSRange range = {loc, len};
    return range;
}

// foundation/nskeyvalueobservingoptions: "The values that can be returned in a change dictionary."
typedef NS_OPTIONS(NSUInteger, NSKeyValueObservingOptions) {
    // foundation/nskeyvalueobservingoptions/1417881-new: "Indicates that the change dictionary
    // should provide the new attribute value, if applicable."
    NSKeyValueObservingOptionNew = 0x01,
    // foundation/nskeyvalueobservingoptions/1414041-old: "Indicates that the change dictionary
    // should contain the old attribute value, if applicable."
    NSKeyValueObservingOptionOld = 0x02,
    // foundation/nskeyvalueobservingoptions/1413959-initial: "If specified, a notification should
    // be sent to the observer immediately, before the observer registration method even returns."
    NSKeyValueObservingOptionInitial = 0x04,
    // foundation/nskeyvalueobservingoptions/1416446-prior: "Whether separate notifications should
    // be sent to the observer before and after each change, instead of a single notification after
    // the change."
    NSKeyValueObservingOptionPrior = 0x08,
};
// foundation/nskeyvaluechangekey: "The keys that can appear in the change dictionary."
typedef NSString* NSKeyValueChangeKey NS_TYPED_ENUM;

@interface NSObject (NSKeyValueObserving)
// objectivec/nsobject/1416553-observevalue: "Informs the observing object when the value at the
// specified key path relative to the observed object has changed."
- (void)observeValueForKeyPath:(nullable NSString*)keyPath
                      ofObject:(nullable id)object
                        change:(nullable NSDictionary<NSKeyValueChangeKey, id>*)change
                       context:(nullable void*)context;
@end

@interface NSObject (NSKeyValueObserverRegistration)
// objectivec/nsobject/1412787-addobserver: "Registers the observer object to receive KVO
// notifications for the key path relative to the object receiving this message."
- (void)addObserver:(NSObject*)observer
         forKeyPath:(NSString*)keyPath
            options:(NSKeyValueObservingOptions)options
            context:(nullable void*)context;
// objectivec/nsobject/1410691-removeobserver: "Stops the observer object from receiving change
// notifications for the property specified by the key path relative to the object receiving this
// message, given the context."
- (void)removeObserver:(NSObject*)observer
            forKeyPath:(NSString*)keyPath
               context:(nullable void*)context;
// objectivec/nsobject/1408054-removeobserver: "Stops the observer object from receiving change
// notifications for the property specified by the key path relative to the object receiving this
// message."
- (void)removeObserver:(NSObject*)observer forKeyPath:(NSString*)keyPath;
@end

NS_ASSUME_NONNULL_END
