#include "InProcessModels.h"

#include "Async/Stop.h"
#include "MIL/Model.h"

#include <atomic>
#include <cstring>
#include <span>
#include <utility>
#include <vector>

namespace vorlin {

namespace {

MLElementType portType(mil::ElementType type)
{
    return type == mil::ElementType::int32 ? MLElementType::int32 : MLElementType::float32;
}

std::vector<MLFeature> portFeatures(const std::vector<mil::FeatureDescription>& features)
{
    std::vector<MLFeature> result;
    for (const auto& feature : features) {
        std::vector<ExtentRange> axes;
        for (const auto extent : feature.type.shape) {
            axes.push_back({extent, extent});
        }
        result.push_back({feature.name, portType(feature.type.element), {axes}, false});
    }
    return result;
}

class InProcessModel final : public MLModel {
public:
    explicit InProcessModel(mil::Model loaded)
        : model(std::move(loaded)),
          declared{portFeatures(model.inputs()), portFeatures(model.outputs())}
    {
    }

    const MLSignature& signature() const override { return declared; }
    bool isLost() const override { return false; }

    Completion<MLFeatures> predict(const MLFeatures& inputs, WorkPriority priority,
                                   StopToken stop) override
    {
        MLFeatures outputs;
        predictInto(outputs, inputs, priority, stop);
        Completion<MLFeatures> done;
        done.completer().complete(std::move(outputs));
        return done;
    }

    bool predictInto(MLFeatures& outputs, const MLFeatures& inputs, WorkPriority /*priority*/,
                     const StopToken& stop) override
    {
        named.clear();
        for (const auto& [name, array] : inputs) {
            mil::Shape shape;
            for (const auto extent : array.shape()) {
                shape.push(extent);
            }
            const auto type = array.elementType() == MLElementType::int32 ? mil::ElementType::int32
                                                                          : mil::ElementType::fp32;
            named.push_back({name, {{type, shape}, array.data()}});
        }
        std::atomic<bool> stopping = false;
        const StopCallback whenStopped(stop, [&stopping] { stopping = true; });
        const auto take = [&](std::span<const mil::TensorView> shown) {
            for (std::size_t i = 0; i < shown.size(); ++i) {
                MultiArray& array = outputs[declared.outputs[i].name];
                if (array.data() == nullptr) {
                    array = MultiArray(portType(shown[i].type.element),
                                       {shown[i].shape().begin(), shown[i].shape().end()});
                }
                std::memcpy(array.data(), shown[i].data, mil::byteCount(shown[i].type));
            }
        };
        model.predict(0, named, take, &stopping);
        return true;
    }

private:
    mil::Model model;
    std::vector<mil::NamedInput> named; // of the last prediction
    const MLSignature declared;
};

} // namespace

Completion<std::unique_ptr<MLModel>> InProcessModels::load(const std::filesystem::path& bundle,
                                                           const LoadOptions& options)
{
    Completion<std::unique_ptr<MLModel>> loaded;
    loaded.completer().complete(std::make_unique<InProcessModel>(mil::Model::load(
        bundle, {.threads = options.units == ComputeUnits::cpuAndGPU ? threads : 1})));
    return loaded;
}

} // namespace vorlin
