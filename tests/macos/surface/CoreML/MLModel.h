#pragma once

#include <CoreML/MLFeature.h>

NS_ASSUME_NONNULL_BEGIN

// coreml/mlcomputeunits: "The set of processing-unit configurations the model can use to make
// predictions."
typedef NS_ENUM(NSInteger, MLComputeUnits) {
    // coreml/mlcomputeunits/cpuonly: "The option you choose to limit the model to only use the
    // CPU."
    MLComputeUnitsCPUOnly = 0,
    // coreml/mlcomputeunits/cpuandgpu: "MLComputeUnits.cpuAndGPU"
    MLComputeUnitsCPUAndGPU = 1,
    // coreml/mlcomputeunits/all: "The option you choose to allow the model to use all compute
    // units available, including the neural engine."
    MLComputeUnitsAll = 2,
    // coreml/mlcomputeunits/cpuandneuralengine: "The option you choose to allow the model to use
    // both the CPU and neural engine, but not the GPU."
    MLComputeUnitsCPUAndNeuralEngine API_AVAILABLE(macos(13.0)) = 3,
};

// coreml/mlmodelconfiguration: "The settings for creating or updating a machine learning model."
@interface MLModelConfiguration : NSObject <NSCopying>
// coreml/mlmodelconfiguration/computeunits: "The processing unit or units the model uses to make
// predictions."
@property(readwrite) MLComputeUnits computeUnits;
@end

// coreml/mlmodeldescription: "Information about a model, primarily the input and output format for
// each feature the model expects, and optional metadata."
@interface MLModelDescription : NSObject
// coreml/mlmodeldescription/inputdescriptionsbyname: "A dictionary of input feature descriptions,
// which the model keys by the input’s name."
@property(readonly, nonatomic)
    // coreml/mlmodeldescription/inputdescriptionsbyname: "A dictionary of input feature
    // descriptions, which the model keys by the input’s name."
    NSDictionary<NSString*, MLFeatureDescription*>* inputDescriptionsByName;
// coreml/mlmodeldescription/outputdescriptionsbyname: "A dictionary of output feature
// descriptions, which the model keys by the output’s name."
@property(readonly, nonatomic)
    // coreml/mlmodeldescription/outputdescriptionsbyname: "A dictionary of output feature
    // descriptions, which the model keys by the output’s name."
    NSDictionary<NSString*, MLFeatureDescription*>* outputDescriptionsByName;
@end

// coreml/mlpredictionoptions: "The options available when making a prediction."
@interface MLPredictionOptions : NSObject
@end

// coreml/mlmodel: "An encapsulation of all the details of your machine learning model."
@interface MLModel : NSObject
// coreml/mlmodel/modeldescription: "Model information you use at runtime during development, which
// Xcode also displays in its Core ML model editor view."
@property(readonly, nonatomic) MLModelDescription* modelDescription;
// coreml/mlmodel/configuration: "The configuration of the model set during initialization."
@property(readonly, nonatomic) MLModelConfiguration* configuration;
// coreml/mlmodel/loadcontentsofurl:configuration:completionhandler:: "Creates a Core ML model
// instance asynchronously from a compiled model file, a custom configuration, and a completion
// handler."
+ (void)loadContentsOfURL:(NSURL*)url
            configuration:(MLModelConfiguration*)configuration
        completionHandler:(void (^)(MLModel* _Nullable model, NSError* _Nullable error))handler
    // coreml/mlmodel/prediction(from:)-9y2aa: "Generates a prediction from the feature values
    // within the input feature provider."
    API_AVAILABLE(macos(11.0));
- (nullable id<MLFeatureProvider>)predictionFromFeatures:(id<MLFeatureProvider>)input
                                                   error:(out NSError* _Nullable* _Nullable)error;
// coreml/mlmodel/prediction(from:options:)-81mr6: "Generates a prediction from the feature values
// within the input feature provider using the prediction options."
- (nullable id<MLFeatureProvider>)predictionFromFeatures:(id<MLFeatureProvider>)input
                                                 options:(MLPredictionOptions*)options
                                                   error:(out NSError* _Nullable* _Nullable)error;
// coreml/mlmodel/predictionfromfeatures:completionhandler:: "Generates a prediction asynchronously
// from the feature values within the input feature provider."
- (void)predictionFromFeatures:(id<MLFeatureProvider>)input
             completionHandler:(void (^)(id<MLFeatureProvider> _Nullable output,
                                         NSError* _Nullable error))completionHandler
    // coreml/mlmodel/predictionfromfeatures:options:completionhandler:: "Generates a prediction
    // asynchronously from the feature values within the input feature provider using the
    // prediction options."
    API_AVAILABLE(macos(14.0));
- (void)predictionFromFeatures:(id<MLFeatureProvider>)input
                       options:(MLPredictionOptions*)options
             completionHandler:(void (^)(id<MLFeatureProvider> _Nullable output,
                                         NSError* _Nullable error))completionHandler
    API_AVAILABLE(macos(14.0));
@end

NS_ASSUME_NONNULL_END
