#pragma once

#include "MIL/Bundles.h"
#include "Platform/Linux/Engine/EngineModels.h"
#include "Platform/Shared/ThreadPool.h"

#include <gtest/gtest.h>

#include <sys/types.h>

#include <chrono>
#include <filesystem>
#include <functional>
#include <future>
#include <memory>
#include <string>
#include <string_view>
#include <vector>

namespace vorlin::test {

using mil::test::TemporaryFolder;

/// Where the fixture archives were unpacked.
std::filesystem::path milFixtures();
/// The engine program as built.
std::filesystem::path builtEngine();

/// What a completion comes to. Waits; a failure is thrown.
template <class T>
T waitFor(Completion<T> completion)
{
    struct Inline : Executor {
        void post(Work work) override { work(); }
    };
    static Inline executor;
    std::promise<T> promise;
    auto future = promise.get_future();
    spawn(executor, [](Completion<T> awaited, std::promise<T> answer) -> Task<> {
        try {
            answer.set_value(co_await awaited);
        } catch (...) {
            answer.set_exception(std::current_exception());
        }
    }(std::move(completion), std::move(promise)));
    if (future.wait_for(std::chrono::minutes(2)) != std::future_status::ready) {
        throw std::logic_error("nothing came");
    }
    return future.get();
}

/// Looks at `condition` until it holds; false after a generous while.
bool eventually(const std::function<bool()>& condition);

/// The processes whose parent this one is, zombies included.
std::vector<pid_t> children();

/// The text of a file in /proc.
std::string textOf(const std::filesystem::path& path);

/// The value behind "NAME:" in /proc/PID/status.
std::string statusOf(pid_t process, std::string_view name);

/// Processor time a process has spent, in hundredths of a second.
long processorTicks(pid_t process);

MultiArray floats(const std::vector<float>& values, MultiArray::Extents shape);
std::vector<float> floatsOf(const MultiArray& array);

/// What a call threw, as its type and text, or "nothing".
template <class Call>
std::string thrownBy(const Call& call)
{
    try {
        call();
    } catch (const MLModelLost& lost) {
        return std::string("lost: ") + lost.what();
    } catch (const MLStopped&) {
        return "stopped";
    } catch (const std::runtime_error& error) {
        return error.what();
    }
    return "nothing";
}

/// A model folder with small programs, and the adapter on the real engine.
class EngineTest : public testing::Test {
protected:
    EngineTest();
    ~EngineTest() override;

    /// Writes the bundle `name` of one function from `x`, of the type, to `y`.
    void write(const std::string& name, std::string_view type, std::string_view body);
    /// y = x + x, of two numbers.
    void writeDouble(const std::string& name = "Double.mlmodelc");
    /// y = x + weights, of a thousand pages of weights; wants fp16 [2048, 1024].
    void writeWeighty(const std::string& name);
    /// A product that takes minutes and can be stopped; wants `largeInput()`.
    void writeEndless(const std::string& name = "Endless.mlmodelc");
    static MultiArray largeInput();

    std::unique_ptr<MLModel> load(const std::string& name,
                                  ComputeUnits units = ComputeUnits::cpuOnly);
    std::unique_ptr<MLModel> loadFrom(const std::filesystem::path& bundle,
                                      ComputeUnits units = ComputeUnits::cpuOnly);
    static MLFeatures predict(MLModel& model, const MLFeatures& inputs, StopToken stop = {},
                              WorkPriority priority = WorkPriority::normal);
    /// What `Double` makes of 1 and 2.
    static std::vector<float> doubled(MLModel& model);

    /// From now on models come from that program.
    void useEngine(const std::filesystem::path& program, const EngineLimits& limits = {});

    /// What a prediction on another thread throws.
    static std::future<std::string> predictAside(MLModel& model, MLFeatures inputs,
                                                 StopToken stop = {});
    /// Waits until the engine process has done some work from now on.
    static bool isComputing();

    /// The one engine process.
    static pid_t engine();

    const TemporaryFolder folder;
    ThreadPool workers;
    std::unique_ptr<EngineModels> models;
};

} // namespace vorlin::test
