#pragma once

#include "Ports/MLModel.h"
#include "simulation/SimulatedLoop.h"

#include <functional>
#include <map>
#include <set>
#include <string>
#include <utility>
#include <vector>

namespace vorlin {

/// Models whose answers the test writes, by bundle name.
class FakeMLModels final : public MLModels {
public:
    struct Script {
        MLSignature signature;
        std::function<MLFeatures(const MLFeatures&)> compute;
        /// Time on the loop's clock; none answers inside the call.
        Duration takes{0};
        Duration loadTakes{0};
        std::string loadFailure{};
        /// The same of so many frames; a model without it knows its full length only.
        std::function<MLFeatures(std::int64_t, const MLFeatures&)> computeAt{};
    };

    explicit FakeMLModels(SimulatedLoop& loop) : loop(loop) {}

    std::map<std::string, Script> scripts;
    /// The folders and names of every load asked for, in order.
    std::vector<std::filesystem::path> loads;
    std::vector<ComputeUnits> units;
    std::vector<WorkPriority> priorities;
    std::string engine = "engine";
    /// Folders whose disk does not answer.
    std::set<std::filesystem::path> hanging;
    /// A load tells so often that it has got on.
    Duration progressEvery{0};
    /// The names of the predictions asked for, in order; "NAME:FRAMES" of some frames only.
    std::vector<std::string> predictions;
    /// What the loads were told of frames, by name.
    std::map<std::string, std::optional<MLFrames>> toldFrames;
    /// What the predictions were given, by name.
    std::map<std::string, std::vector<MLFeatures>> given;
    bool keepsGiven = false;
    /// Predictions may be computed on the calling thread, in no time, into arrays that stay.
    bool computesHere = false;
    int stopped = 0;
    int mostAtOnce = 0;
    WorkPriority lastPriority = WorkPriority::normal;
    /// Those at which predictions were asked for.
    std::set<WorkPriority> predictionPriorities;
    /// Models that were handed out and still exist.
    std::size_t alive() const { return models.size(); }

    /// What holds the models ends: every one of them is lost, and what it computes fails.
    void lose(const std::string& message = "The speech engine stopped unexpectedly.")
    {
        for (auto* model : models) {
            model->lost = message;
        }
        for (auto& [id, completer] : std::exchange(pending, {})) {
            completer.failWith<MLModelLost>(message);
        }
    }

    Completion<std::unique_ptr<MLModel>> load(const std::filesystem::path& bundle,
                                              const LoadOptions& options) override
    {
        loads.push_back(bundle);
        units.push_back(options.units);
        priorities.push_back(options.priority);
        const auto name = bundle.filename().string();
        toldFrames[name] = options.frames;
        Completion<std::unique_ptr<MLModel>> loaded;
        if (hanging.contains(bundle.parent_path())) {
            hung.push_back(loaded.completer());
            return loaded;
        }
        if (progressEvery > Duration::zero()) {
            getOn(options.onProgress, scripts[name].loadTakes);
        }
        later(scripts[name].loadTakes, [this, name, completer = loaded.completer()] {
            const auto& failure = scripts[name].loadFailure;
            if (failure.empty()) {
                completer.complete(std::make_unique<Model>(*this, name));
            } else {
                completer.failWith(failure);
            }
        });
        return loaded;
    }

    /// The disk of the hanging folders answers after all.
    void answer()
    {
        hanging.clear();
        for (const auto& completer : std::exchange(hung, {})) {
            completer.failWith("Too late.");
        }
    }

    std::string engineIdentity() const override { return engine; }

private:
    class Model final : public MLModel {
    public:
        Model(FakeMLModels& owner, std::string name)
            : owner(owner), name(std::move(name)), declared(owner.scripts[this->name].signature)
        {
            owner.models.insert(this);
        }
        ~Model() override { owner.models.erase(this); }

        const MLSignature& signature() const override { return declared; }
        bool isLost() const override { return !lost.empty(); }
        Completion<MLFeatures> predict(const MLFeatures& inputs, WorkPriority priority,
                                       StopToken stop) override
        {
            return owner.predict(*this, 0, inputs, priority, std::move(stop));
        }
        bool predictInto(MLFeatures& outputs, const MLFeatures& inputs, WorkPriority priority,
                         const StopToken& stop) override
        {
            if (owner.computesHere) {
                owner.predictHere(*this, outputs, inputs, priority, stop);
            }
            return owner.computesHere;
        }
        bool computesFewerFrames() const override
        {
            return owner.scripts[name].computeAt != nullptr;
        }
        Completion<MLFeatures> predictAt(std::int64_t frames, const MLFeatures& inputs,
                                         WorkPriority priority, StopToken stop) override
        {
            return owner.predict(*this, frames, inputs, priority, std::move(stop));
        }

        FakeMLModels& owner;
        const std::string name;
        const MLSignature declared;
        std::string lost;
    };

    Completion<MLFeatures> predict(const Model& model, std::int64_t frames,
                                   const MLFeatures& inputs, WorkPriority priority, StopToken stop)
    {
        predictions.push_back(model.name + (frames == 0 ? "" : ":" + std::to_string(frames)));
        if (keepsGiven) {
            given[model.name].push_back(copied(inputs));
        }
        lastPriority = priority;
        predictionPriorities.insert(priority);
        Completion<MLFeatures> done;
        if (!model.lost.empty()) {
            done.completer().failWith<MLModelLost>(model.lost);
            return done;
        }
        const auto id = nextId++;
        pending.emplace(id, done.completer());
        mostAtOnce = std::max(mostAtOnce, static_cast<int>(pending.size()));
        auto stopper = std::make_shared<StopCallback>(stop, [this, id] {
            if (const auto found = pending.find(id); found != pending.end()) {
                ++stopped;
                const auto completer = found->second;
                pending.erase(found);
                completer.fail(std::make_exception_ptr(MLStopped()));
            }
        });
        const auto& script = scripts[model.name];
        later(script.takes, [this, id, name = model.name, frames, inputs, stopper] {
            if (const auto found = pending.find(id); found != pending.end()) {
                const auto completer = found->second;
                pending.erase(found);
                try {
                    completer.complete(frames == 0 ? scripts[name].compute(inputs)
                                                   : scripts[name].computeAt(frames, inputs));
                } catch (...) {
                    completer.fail(std::current_exception());
                }
            }
        });
        return done;
    }

    void predictHere(const Model& model, MLFeatures& outputs, const MLFeatures& inputs,
                     WorkPriority priority, const StopToken& stop)
    {
        const auto takes = std::exchange(scripts[model.name].takes, Duration(0));
        auto done = predict(model, 0, inputs, priority, stop);
        scripts[model.name].takes = takes;
        MLFeatures computed = copied(done.await_resume());
        for (auto& [name, array] : computed) {
            const auto known = outputs.find(name);
            if (known != outputs.end() && known->second.elementType() == array.elementType() &&
                known->second.shape() == array.shape()) {
                std::copy_n(array.data(), array.elementCount() * bytesOf(array.elementType()),
                            known->second.data());
                array = known->second;
            }
        }
        outputs = std::move(computed);
    }

    void getOn(const std::function<void()>& onProgress, Duration left)
    {
        if (left > progressEvery) {
            loop.postAfter(progressEvery, [this, onProgress, left] {
                onProgress();
                getOn(onProgress, left - progressEvery);
            });
        }
    }

    /// The inputs as they are now; the program goes on using their memory.
    static MLFeatures copied(const MLFeatures& inputs)
    {
        MLFeatures copies;
        for (const auto& [name, array] : inputs) {
            MultiArray copy(array.elementType(), array.shape());
            std::copy_n(array.data(), array.elementCount() * bytesOf(array.elementType()),
                        copy.data());
            copies.emplace(name, copy);
        }
        return copies;
    }

    void later(Duration delay, Work work)
    {
        if (delay > Duration::zero()) {
            loop.postAfter(delay, std::move(work));
        } else {
            work();
        }
    }

    SimulatedLoop& loop;
    std::set<Model*> models;
    std::vector<Completer<std::unique_ptr<MLModel>>> hung;
    std::map<int, Completer<MLFeatures>> pending;
    int nextId = 0;
};

} // namespace vorlin
