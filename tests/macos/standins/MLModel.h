#pragma once

#include <CoreML/CoreML.h>

// For tests: what the system makes can be made.
@interface MLMultiArrayShapeConstraint ()
@property(readwrite, nonatomic) MLMultiArrayShapeConstraintType type;
@property(readwrite, nonatomic, nonnull) NSArray<NSValue*>* sizeRangeForDimension;
@property(readwrite, nonatomic, nonnull) NSArray<NSArray<NSNumber*>*>* enumeratedShapes;
@end
@interface MLMultiArrayConstraint ()
@property(readwrite, nonatomic, nonnull) NSArray<NSNumber*>* shape;
@property(readwrite, nonatomic) MLMultiArrayDataType dataType;
@property(readwrite, nonatomic, nonnull) MLMultiArrayShapeConstraint* shapeConstraint;
@end
@interface MLFeatureDescription ()
@property(readwrite, nonatomic, getter=isOptional) BOOL optional;
@property(nonatomic, nullable) MLMultiArrayConstraint* arrays;
@end
@interface MLModelDescription ()
@property(readwrite, nonatomic, nonnull)
    NSDictionary<NSString*, MLFeatureDescription*>* inputDescriptionsByName;
@property(readwrite, nonatomic, nonnull)
    NSDictionary<NSString*, MLFeatureDescription*>* outputDescriptionsByName;
@end
@interface MLModel ()
@property(readwrite, nonatomic, nonnull) MLModelDescription* modelDescription;
@end

namespace standins {

/// How the system answers about models.
struct Models {
    /// What a prediction gives.
    id<MLFeatureProvider> _Nullable (^_Nullable prediction)(
        id<MLFeatureProvider> _Nonnull inputs, NSError* _Nullable* _Nonnull error) = nil;
    NSException* _Nullable loadFault = nil;
    bool refusesArrays = false;
    bool refusesProviders = false;
    /// Why, in both cases.
    NSError* _Nullable refusal = nil;
};
Models& models();

/// Ends the load that was asked for last, on the thread that calls.
void endLoad(MLModel* _Nullable model, NSError* _Nullable error);

/// Lets go of the load that was asked for last, without an end.
void forgetLoad();

NSValue* _Nonnull range(NSUInteger location, NSUInteger length);

/// What a prediction answers with.
id<MLFeatureProvider> _Nonnull features(NSDictionary<NSString*, id>* _Nonnull values);

/// A value that is no array.
MLFeatureValue* _Nonnull noArray();

} // namespace standins
