#include "TimedModels.h"

#include <thread>
#include <type_traits>
#include <utility>

namespace vorlin {

class TimedModels::Model final : public MLModel {
public:
    Model(TimedModels& owner, std::string name, Completion<std::unique_ptr<MLModel>> loading)
        : owner(owner), name(std::move(name)), model(std::move(loading).await_resume())
    {
    }

    const MLSignature& signature() const override { return model->signature(); }
    bool isLost() const override { return model->isLost(); }

    Completion<MLFeatures> predict(const MLFeatures& inputs, WorkPriority priority,
                                   StopToken stop) override
    {
        return timed(priority, [&] { return model->predict(inputs, priority, std::move(stop)); });
    }
    bool predictInto(MLFeatures& outputs, const MLFeatures& inputs, WorkPriority priority,
                     const StopToken& stop) override
    {
        return timed(priority, [&] { return model->predictInto(outputs, inputs, priority, stop); });
    }
    bool computesFewerFrames() const override { return model->computesFewerFrames(); }
    Completion<MLFeatures> predictAt(std::int64_t frames, const MLFeatures& inputs,
                                     WorkPriority priority, StopToken stop) override
    {
        return timed(priority,
                     [&] { return model->predictAt(frames, inputs, priority, std::move(stop)); });
    }

private:
    template <class Predict>
    std::invoke_result_t<const Predict&> timed(WorkPriority priority, const Predict& predict)
    {
        owner.inBackground = priority == WorkPriority::background;
        const auto start = std::chrono::steady_clock::now();
        auto done = predict();
        const auto took = std::chrono::steady_clock::now() - start;
        owner.inBackground = false;
        const std::scoped_lock guard(owner.lock);
        owner.times[name].push_back(took);
        return done;
    }

    TimedModels& owner;
    const std::string name;
    const std::unique_ptr<MLModel> model;
};

Completion<std::unique_ptr<MLModel>> TimedModels::load(const std::filesystem::path& bundle,
                                                       const LoadOptions& options)
{
    auto loading = models.load(bundle, options);
    while (!loading.await_ready()) {
        std::this_thread::yield();
    }
    Completion<std::unique_ptr<MLModel>> result;
    try {
        result.completer().complete(
            std::make_unique<Model>(*this, bundle.stem().string(), std::move(loading)));
        ++loaded;
    } catch (...) {
        result.completer().fail(std::current_exception());
    }
    return result;
}

TimedModels::Times TimedModels::take()
{
    const std::scoped_lock guard(lock);
    return std::exchange(times, {});
}

} // namespace vorlin
