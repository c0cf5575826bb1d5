// What decoding takes of memory, token by token: nothing, on either side of the process boundary.
#include "Async/Stop.h"
#include "MIL/AllocationCount.h"
#include "Parakeet/ParakeetDecoding.h"
#include "Platform/Linux/Engine/EngineFixture.h"
#include "Platform/Linux/Engine/Wire/Channel.h"
#include "Platform/Linux/Engine/Wire/Messages.h"
#include "Platform/Linux/Engine/Wire/SharedMemory.h"
#include "ServedModel.h"
#include "SpokenUtterances.h"
#include "core/ParakeetFixture.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <filesystem>
#include <functional>
#include <future>
#include <thread>
#include <utility>
#include <vector>

namespace vorlin::test {
namespace {

using mil::test::allocationCount;

/// An array for every feature, of the shape it declares.
MLFeatures zeros(const std::vector<MLFeature>& declared)
{
    MLFeatures features;
    for (const auto& feature : declared) {
        MultiArray::Extents shape;
        for (const auto& range : feature.shapes.front()) {
            shape.push_back(range.most);
        }
        features.emplace(feature.name, MultiArray(feature.elementType.value(), shape));
    }
    return features;
}

/// A model that names a token of the same sort again and again, on the calling thread.
class Counting final : public MLModel {
public:
    explicit Counting(MLSignature declared) : declared(std::move(declared)) {}

    const MLSignature& signature() const override { return declared; }
    bool isLost() const override { return false; }
    Completion<MLFeatures> predict(const MLFeatures& /*inputs*/, WorkPriority /*priority*/,
                                   StopToken /*stop*/) override
    {
        ADD_FAILURE() << "it computes here";
        return {};
    }
    bool predictInto(MLFeatures& outputs, const MLFeatures& /*inputs*/, WorkPriority /*priority*/,
                     const StopToken& /*stop*/) override
    {
        if (outputs.empty()) {
            outputs = zeros(declared.outputs);
        }
        if (const auto duration = outputs.find("duration"); duration != outputs.end()) {
            *duration->second.as<std::int32_t>() = 1;
            *outputs.at("token_id").as<std::int32_t>() = 7;
        }
        return true;
    }

private:
    const MLSignature declared;
};

/// What the decoding of so many tokens asks of memory.
std::size_t allocationsFor(std::int64_t tokens)
{
    using enum MLElementType;
    ParakeetLoaded models;
    models.decoder = std::make_unique<Counting>(
        MLSignature{{},
                    {feature("h_out", float32, {2, 1, 640}), feature("c_out", float32, {2, 1, 640}),
                     feature("decoder", float32, {1, 640, 1})}});
    models.joint = std::make_unique<Counting>(
        MLSignature{{}, {feature("token_id", int32, {1}), feature("duration", int32, {1})}});
    const MultiArray encoder(float32, {1, 16, tokens});
    SimulatedLoop loop;
    const auto before = allocationCount();
    const auto outcome = outcomeOf(loop, greedyTDT(encoder, tokens, models, {}));
    loop.runReady();
    EXPECT_EQ(outcome->value.value_or(std::vector<std::int64_t>()).size(), tokens);
    return allocationCount() - before;
}

TEST(DecodingMemory, aTokenTakesNoneInTheLoop)
{
    EXPECT_EQ(allocationsFor(20), allocationsFor(200));
}

class PredictionMemory : public EngineTest, public testing::WithParamInterface<const char*> {};

TEST_P(PredictionMemory, oneThatIsRepeatedTakesNone)
{
    const auto model = loadFrom(tinyModel() / GetParam());
    const auto inputs = zeros(model->signature().inputs);
    const StopSource stop;
    MLFeatures outputs;
    for (const auto priority : {WorkPriority::normal, WorkPriority::background}) {
        const auto once = [&] {
            ASSERT_TRUE(model->predictInto(outputs, inputs, priority, stop.token()));
        };
        once(); // makes the shared memory
        once();
        const auto before = allocationCount();
        for (int i = 0; i < 100; ++i) {
            once();
        }
        EXPECT_EQ(allocationCount(), before);
    }
    const auto wanted = predict(*model, inputs);
    ASSERT_EQ(wanted.size(), outputs.size());
    for (const auto& [name, array] : wanted) {
        const auto bytes = array.elementCount() * bytesOf(array.elementType());
        EXPECT_TRUE(std::equal(array.data(), array.data() + bytes, outputs.at(name).data()));
    }
}

/// Asks a served model for the same again and again, as the program would. What `count` has grown
/// by in the last 100 predictions.
std::size_t grownAsking(Descriptor channel, bool background, const std::atomic<std::size_t>& count)
{
    std::vector<std::byte> buffer(engine::largestMessage);
    const auto reply = [&] {
        const auto received = engine::receive(channel, buffer);
        return engine::parseReply(std::span(buffer).first(received.size));
    };
    const auto signature = std::get<engine::LoadedReply>(reply().value());
    engine::PredictRequest asked;
    asked.background = background;
    for (std::uint32_t i = 0; i < signature.inputs.size(); ++i) {
        engine::Tensor tensor{i, signature.inputs[i].element, {}, asked.outputs};
        for (const auto& range : signature.inputs[i].shapes.front()) {
            tensor.shape.push_back(range.most);
        }
        asked.outputs += engine::aligned(byteCount(tensor.element, tensor.shape).value());
        asked.inputs.push_back(std::move(tensor));
    }
    const auto memory = engine::SharedMemory::create(std::uint64_t{1} << 20).value();
    asked.memory = memory.first.size();
    const auto ask = [&](int predictions) {
        for (int i = 0; i < predictions; ++i) {
            ++asked.sequence;
            engine::send(channel, engine::encode(engine::ModelRequest(asked)),
                         asked.memory != 0 ? memory.second.number() : -1, engine::Waiting::yes);
            asked.memory = 0;
            EXPECT_TRUE(std::holds_alternative<engine::ComputedReply>(reply().value()));
        }
    };
    ask(5); // of which the first makes what is not ready
    const std::size_t before = count;
    ask(100);
    return count - before;
}

TEST_P(PredictionMemory, oneThatIsRepeatedTakesNoneInTheEngine)
{
    const auto before = std::filesystem::current_path();
    std::filesystem::current_path(tinyModel());                 // as the engine process has it
    engine::BackgroundLane& lane = *new engine::BackgroundLane; // lives as long as the process
    for (const bool background : {false, true}) {
        auto [ours, theirs] = engine::channel();
        engine::ServedModel model(std::move(theirs), {.bundle = GetParam()}, lane);
        // The lane computes on this thread, too.
        auto grown = std::async(std::launch::async, grownAsking, std::move(ours), background,
                                std::cref(mil::test::allocationsOfThisThread()));
        model.serve();
        EXPECT_EQ(grown.get(), 0);
    }
    std::filesystem::current_path(before);
}

INSTANTIATE_TEST_SUITE_P(StepsOfDecoding, PredictionMemory,
                         testing::Values("Decoder.mlmodelc", "JointDecisionv3.mlmodelc"),
                         [](const auto& each) {
                             return std::string(each.param, std::string_view(each.param).find('.'));
                         });

} // namespace
} // namespace vorlin::test
