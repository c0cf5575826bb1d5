#pragma once

#include <CoreML/MLMultiArray.h>

NS_ASSUME_NONNULL_BEGIN

// coreml/mlfeaturetype: "The possible types for feature values, input features, and output
// features."
typedef NS_ENUM(NSInteger, MLFeatureType) {
    // coreml/mlfeaturetype/invalid: "The type for invalid feature values."
    MLFeatureTypeInvalid = 0,
    // coreml/mlfeaturetype/int64: "The type for integer features and feature values."
    MLFeatureTypeInt64 = 1,
    // coreml/mlfeaturetype/double: "The type for double features and feature values."
    MLFeatureTypeDouble = 2,
    // coreml/mlfeaturetype/string: "The type for string features and feature values."
    MLFeatureTypeString = 3,
    // coreml/mlfeaturetype/image: "The type for image features and feature values."
    MLFeatureTypeImage = 4,
    // coreml/mlfeaturetype/multiarray: "The type for multidimensional array features and feature
    // values."
    MLFeatureTypeMultiArray = 5,
    // coreml/mlfeaturetype/dictionary: "The type for dictionary features and feature values."
    MLFeatureTypeDictionary = 6,
    // coreml/mlfeaturetype/sequence: "The type for sequence features and feature values."
    MLFeatureTypeSequence = 7,
    // coreml/mlfeaturetype/state: "MLState. Represents a model state that may be updated in each
    // inference."
    MLFeatureTypeState API_AVAILABLE(macos(15.0)) = 8,
};

// coreml/mlfeaturevalue: "A generic wrapper around an underlying value and the value’s type."
@interface MLFeatureValue : NSObject <NSCopying>
// coreml/mlfeaturevalue/type: "The type of the feature value."
@property(readonly, nonatomic) MLFeatureType type;
// coreml/mlfeaturevalue/multiarrayvalue: "The underlying multiarray of the feature value."
@property(readonly, nullable, nonatomic) MLMultiArray* multiArrayValue;
// coreml/mlfeaturevalue/init(multiarray:): "Creates a feature value that contains a
// multidimensional array."
+ (instancetype)featureValueWithMultiArray:(MLMultiArray*)value;
@end

// coreml/mlmultiarrayshapeconstrainttype: "The possible types of shape constraints."
typedef NS_ENUM(NSInteger, MLMultiArrayShapeConstraintType) {
    // coreml/mlmultiarrayshapeconstrainttype/unspecified: "The constraint type is undefined."
    MLMultiArrayShapeConstraintTypeUnspecified = 1,
    // coreml/mlmultiarrayshapeconstrainttype/enumerated: "The constraint is an array of allowed
    // shapes."
    MLMultiArrayShapeConstraintTypeEnumerated = 2,
    // coreml/mlmultiarrayshapeconstrainttype/range: "The constraint is a set of ranges allowed for
    // the array shape."
    MLMultiArrayShapeConstraintTypeRange = 3,
};

// coreml/mlmultiarrayshapeconstraint: "The lists of shapes or ranges of shapes that constrain a
// multiarray feature."
@interface MLMultiArrayShapeConstraint : NSObject <NSSecureCoding>
// coreml/mlmultiarrayshapeconstraint/type: "The type of the shape constraint."
@property(readonly, nonatomic) MLMultiArrayShapeConstraintType type;
// coreml/mlmultiarrayshapeconstraint/sizerangefordimension: "The allowable range for a dimention of
// the multiarray."
@property(readonly, nonatomic) NSArray<NSValue*>* sizeRangeForDimension;
// coreml/mlmultiarrayshapeconstraint/enumeratedshapes: "Array of allowed shapes for a multiarray
// feature."
@property(readonly, nonatomic) NSArray<NSArray<NSNumber*>*>* enumeratedShapes;
@end

// coreml/mlmultiarrayconstraint: "The shape and data type constraints for a multidimensional array
// feature."
@interface MLMultiArrayConstraint : NSObject
// coreml/mlmultiarrayconstraint/shape: "The shape of the multi array."
@property(readonly, nonatomic) NSArray<NSNumber*>* shape;
// coreml/mlmultiarrayconstraint/datatype: "The type for the multi array."
@property(readonly, nonatomic) MLMultiArrayDataType dataType;
// coreml/mlmultiarrayconstraint/shapeconstraint: "The constraint on the shape of the multiarray."
@property(readonly, nonatomic) MLMultiArrayShapeConstraint* shapeConstraint;
@end

// coreml/mlfeaturedescription: "The name, type, and constraints of an input or output feature."
@interface MLFeatureDescription : NSObject <NSCopying>
// coreml/mlfeaturedescription/name: "The name of this feature."
@property(readonly, nonatomic, copy) NSString* name;
// coreml/mlfeaturedescription/type: "The type of this feature."
@property(readonly, nonatomic) MLFeatureType type;
// coreml/mlfeaturedescription/isoptional: "A Boolean value that indicates whether this feature is
// optional."
@property(readonly, nonatomic, getter=isOptional) BOOL optional;
@end

@interface MLFeatureDescription (MLFeatureValueConstraints)
// coreml/mlfeaturedescription/multiarrayconstraint: "The constraints on a multidimensional array
// feature."
@property(readonly, nullable, nonatomic) MLMultiArrayConstraint* multiArrayConstraint;
@end

// coreml/mlfeatureprovider: "An interface that represents a collection of values for either a
// model’s input or its output."
@protocol MLFeatureProvider
// coreml/mlfeatureprovider/featurenames: "The set of valid feature names."
@property(readonly, nonatomic) NSSet<NSString*>* featureNames;
// coreml/mlfeatureprovider/featurevalue(for:): "Accesses the feature value given the feature’s
// name."
- (nullable MLFeatureValue*)featureValueForName:(NSString*)featureName;
@end

// coreml/mldictionaryfeatureprovider: "A convenience wrapper for the given dictionary of data."
@interface MLDictionaryFeatureProvider : NSObject <MLFeatureProvider, NSFastEnumeration>
// coreml/mldictionaryfeatureprovider/dictionary: "The backing dictionary."
@property(readonly, nonatomic) NSDictionary<NSString*, MLFeatureValue*>* dictionary;
// coreml/mldictionaryfeatureprovider/init(dictionary:): "Creates the feature provider based on a
// dictionary."
- (nullable instancetype)initWithDictionary:(NSDictionary<NSString*, id>*)dictionary
                                      error:(out NSError* _Nullable* _Nullable)error;
// coreml/mldictionaryfeatureprovider/subscript(_:): "Subscript interface for the feature provider
// to pass through to the dictionary."
- (nullable MLFeatureValue*)objectForKeyedSubscript:(NSString*)featureName;
@end

NS_ASSUME_NONNULL_END
