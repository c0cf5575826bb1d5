#include "Platform/macOS/MacMLModels.h"

#include "Platform/macOS/Objects/ModelArrays.h"
#include "Platform/macOS/Objects/Text.h"
#include "Platform/macOS/Objects/ThreadPriority.h"

#include <CoreML/CoreML.h>

#include <chrono>
#include <memory>
#include <utility>

/// Core ML's own, which has the name of our port.
using CoreModel = MLModel;

namespace vorlin {

namespace {

constexpr auto progressEvery = std::chrono::seconds(1);

class MacMLModel final : public MLModel {
public:
    explicit MacMLModel(CoreModel* model)
        : model(model), declared{featuresOf(model.modelDescription.inputDescriptionsByName),
                                 featuresOf(model.modelDescription.outputDescriptionsByName)}
    {
    }

    const MLSignature& signature() const override { return declared; }
    bool isLost() const override { return false; }
    Completion<MLFeatures> predict(const MLFeatures& inputs, WorkPriority priority,
                                   StopToken stop) override;

private:
    std::optional<std::string> run(const MLFeatures& inputs, MLFeatures& outputs) const;
    std::optional<std::string> tryToRun(const MLFeatures& inputs, MLFeatures& outputs) const;

    Ref<CoreModel> model;
    MLSignature declared;
};

Completion<MLFeatures> MacMLModel::predict(const MLFeatures& inputs, WorkPriority priority,
                                           StopToken stop)
{
    Completion<MLFeatures> prediction;
    const auto completer = prediction.completer();
    MLFeatures outputs;
    std::optional<std::string> reason;
    if (!stop.stopRequested()) {
        const Yielding scope(priority == WorkPriority::background);
        reason = run(inputs, outputs);
    }
    if (stop.stopRequested()) {
        completer.fail(std::make_exception_ptr(MLStopped()));
    } else if (reason) {
        completer.failWith(*reason);
    } else {
        completer.complete(std::move(outputs));
    }
    return prediction;
}

/// Returns in one line why it failed.
std::optional<std::string> MacMLModel::run(const MLFeatures& inputs, MLFeatures& outputs) const
{
    @autoreleasepool { // a worker has none
        @try {
            return tryToRun(inputs, outputs);
        } @catch (NSException* exception) {
            return lineOf(exception);
        }
    }
}

std::optional<std::string> MacMLModel::tryToRun(const MLFeatures& inputs, MLFeatures& outputs) const
{
    NSError* error = nil;
    NSMutableDictionary* const values = [NSMutableDictionary dictionary];
    for (const auto& [name, array] : inputs) {
        MLMultiArray* const given = coreArray(array, &error);
        if (given == nil) {
            return lineOf(error);
        }
        [values setObject:[MLFeatureValue featureValueWithMultiArray:given] forKey:nsText(name)];
    }
    MLDictionaryFeatureProvider* const provider =
        autoreleased([[MLDictionaryFeatureProvider alloc] initWithDictionary:values error:&error]);
    if (provider == nil) {
        return lineOf(error);
    }
    const id<MLFeatureProvider> predicted = [model.get() predictionFromFeatures:provider
                                                                          error:&error];
    if (predicted == nil) {
        return lineOf(error);
    }
    for (const auto& output : declared.outputs) {
        if (!output.elementType) {
            continue; // no array that `MultiArray` could hold
        }
        auto array = arrayOf([predicted featureValueForName:nsText(output.name)].multiArrayValue);
        if (!array || array->elementType() != *output.elementType) {
            return "The model did not give the output \"" + output.name + "\" that it declares.";
        }
        outputs.emplace(output.name, std::move(*array));
    }
    return std::nullopt;
}

/// Tells of progress until it is let go of.
struct Progress {
    Timer timer;

    static void tell(const std::weak_ptr<Progress>& weak, MainLoop& loop,
                     const std::function<void()>& onProgress)
    {
        if (const auto progress = weak.lock()) {
            onProgress();
            progress->timer = loop.startTimer(
                progressEvery, [weak, &loop, onProgress] { tell(weak, loop, onProgress); });
        }
    }
};

MLComputeUnits computeUnits(ComputeUnits units)
{
    return units == ComputeUnits::cpuAndGPU ? MLComputeUnitsCPUAndGPU : MLComputeUnitsCPUOnly;
}

void answer(const Completer<std::unique_ptr<MLModel>>& completer, CoreModel* model,
            const std::string& reason)
{
    if (model != nil) {
        completer.complete(std::make_unique<MacMLModel>(model));
    } else {
        completer.failWith(reason);
    }
}

} // namespace

Completion<std::unique_ptr<MLModel>> MacMLModels::load(const std::filesystem::path& bundle,
                                                       const LoadOptions& options)
{
    Completion<std::unique_ptr<MLModel>> loaded;
    const auto completer = loaded.completer();
    const auto progress = std::make_shared<Progress>();
    const auto way = door.shared();
    // Its timer belongs to the main loop.
    way->post([weak = std::weak_ptr(progress), &loop = loop, onProgress = options.onProgress] {
        Progress::tell(weak, loop, onProgress);
    });
    // What the system does for this thread yields as the thread does.
    const Yielding scope(options.priority == WorkPriority::background);
    @autoreleasepool { // a worker has none
        @try {
            MLModelConfiguration* const configuration =
                autoreleased([[MLModelConfiguration alloc] init]);
            configuration.computeUnits = computeUnits(options.units);
            NSURL* const address = fileURL(bundle);
            if (address == nil) {
                completer.failWith("The model's path is no text.");
                return loaded;
            }
            [CoreModel loadContentsOfURL:address
                           configuration:configuration
                       completionHandler:^(CoreModel* model, NSError* error) {
                         @autoreleasepool { // on a thread of the system's
                             const auto reason = model != nil ? std::string() : lineOf(error);
                             way->post([completer, progress, held = Ref<CoreModel>(model), reason] {
                                 answer(completer, held.get(), reason);
                             });
                         }
                       }];
        } @catch (NSException* exception) {
            completer.failWith(lineOf(exception));
        }
    }
    return loaded;
}

} // namespace vorlin
