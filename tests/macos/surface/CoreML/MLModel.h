#pragma once

#include <CoreML/MLFeature.h>

NS_ASSUME_NONNULL_BEGIN

FOUNDATION_EXPORT NSString* const MLModelErrorDomain;
typedef NS_ENUM(NSInteger, MLModelError) {
    MLModelErrorGeneric = 0,
    MLModelErrorFeatureType = 1,
    MLModelErrorIO = 3,
};

typedef NS_ENUM(NSInteger, MLComputeUnits) {
    MLComputeUnitsCPUOnly = 0,
    MLComputeUnitsCPUAndGPU = 1,
    MLComputeUnitsAll = 2,
    MLComputeUnitsCPUAndNeuralEngine API_AVAILABLE(macos(13.0)) = 3,
};

@interface MLModelConfiguration : NSObject <NSCopying>
@property(readwrite) MLComputeUnits computeUnits;
@end

@interface MLModelDescription : NSObject
@property(readonly, nonatomic)
    NSDictionary<NSString*, MLFeatureDescription*>* inputDescriptionsByName;
@property(readonly, nonatomic)
    NSDictionary<NSString*, MLFeatureDescription*>* outputDescriptionsByName;
@end

@interface MLPredictionOptions : NSObject
@end

@interface MLModel : NSObject
@property(readonly, nonatomic) MLModelDescription* modelDescription;
@property(readonly, nonatomic) MLModelConfiguration* configuration;
+ (nullable instancetype)modelWithContentsOfURL:(NSURL*)url
                                  configuration:(MLModelConfiguration*)configuration
                                          error:(out NSError* _Nullable* _Nullable)error;
+ (void)loadContentsOfURL:(NSURL*)url
            configuration:(MLModelConfiguration*)configuration
        completionHandler:(void (^)(MLModel* _Nullable model, NSError* _Nullable error))handler
    API_AVAILABLE(macos(11.0));
- (nullable id<MLFeatureProvider>)predictionFromFeatures:(id<MLFeatureProvider>)input
                                                   error:(out NSError* _Nullable* _Nullable)error;
- (nullable id<MLFeatureProvider>)predictionFromFeatures:(id<MLFeatureProvider>)input
                                                 options:(MLPredictionOptions*)options
                                                   error:(out NSError* _Nullable* _Nullable)error;
- (void)predictionFromFeatures:(id<MLFeatureProvider>)input
             completionHandler:(void (^)(id<MLFeatureProvider> _Nullable output,
                                         NSError* _Nullable error))completionHandler
    API_AVAILABLE(macos(14.0));
- (void)predictionFromFeatures:(id<MLFeatureProvider>)input
                       options:(MLPredictionOptions*)options
             completionHandler:(void (^)(id<MLFeatureProvider> _Nullable output,
                                         NSError* _Nullable error))completionHandler
    API_AVAILABLE(macos(14.0));
@end

NS_ASSUME_NONNULL_END
