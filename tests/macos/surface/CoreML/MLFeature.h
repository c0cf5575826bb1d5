#pragma once

#include <CoreML/MLMultiArray.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, MLFeatureType) {
    MLFeatureTypeInvalid = 0,
    MLFeatureTypeInt64 = 1,
    MLFeatureTypeDouble = 2,
    MLFeatureTypeString = 3,
    MLFeatureTypeImage = 4,
    MLFeatureTypeMultiArray = 5,
    MLFeatureTypeDictionary = 6,
    MLFeatureTypeSequence = 7,
    MLFeatureTypeState API_AVAILABLE(macos(15.0)) = 8,
};

@interface MLFeatureValue : NSObject <NSCopying>
@property(readonly, nonatomic) MLFeatureType type;
@property(readonly, nonatomic, getter=isUndefined) BOOL undefined;
@property(readonly, nonatomic) int64_t int64Value;
@property(readonly, nullable, nonatomic) MLMultiArray* multiArrayValue;
+ (instancetype)featureValueWithMultiArray:(MLMultiArray*)value;
@end

@interface MLMultiArrayConstraint : NSObject
@property(readonly, nonatomic) NSArray<NSNumber*>* shape;
@property(readonly, nonatomic) MLMultiArrayDataType dataType;
@end

@interface MLFeatureDescription : NSObject <NSCopying>
@property(readonly, nonatomic, copy) NSString* name;
@property(readonly, nonatomic) MLFeatureType type;
@property(readonly, nonatomic, getter=isOptional) BOOL optional;
@end

@interface MLFeatureDescription (MLFeatureValueConstraints)
@property(readonly, nullable, nonatomic) MLMultiArrayConstraint* multiArrayConstraint;
@end

@protocol MLFeatureProvider
@property(readonly, nonatomic) NSSet<NSString*>* featureNames;
- (nullable MLFeatureValue*)featureValueForName:(NSString*)featureName;
@end

@interface MLDictionaryFeatureProvider : NSObject <MLFeatureProvider, NSFastEnumeration>
@property(readonly, nonatomic) NSDictionary<NSString*, MLFeatureValue*>* dictionary;
- (nullable instancetype)initWithDictionary:(NSDictionary<NSString*, id>*)dictionary
                                      error:(out NSError* _Nullable* _Nullable)error;
- (nullable MLFeatureValue*)objectForKeyedSubscript:(NSString*)featureName;
@end

NS_ASSUME_NONNULL_END
