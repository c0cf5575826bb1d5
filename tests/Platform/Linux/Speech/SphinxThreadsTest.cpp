#include "Platform/Linux/Speech/SphinxAnalyzers.h"

#include "Async/Task.h"
#include "LinkedModel.h"
#include "Platform/Linux/Desktop/TemporaryFolder.h"
#include "Platform/Shared/ThreadPool.h"
#include "SpokenAudio.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <fcntl.h>
#include <sys/stat.h>
#include <unistd.h>

#include <atomic>
#include <condition_variable>
#include <deque>
#include <thread>

namespace vorlin {

namespace {

using namespace std::chrono_literals;

/// A main loop that the test runs while it waits; its clock stands still.
class WaitingLoop final : public MainLoop {
public:
    void post(Work work) override
    {
        {
            const std::scoped_lock guard(lock);
            queue.push_back(std::move(work));
        }
        ready.notify_one();
    }
    TimePoint now() const override { return {}; }
    [[nodiscard]] Timer startTimer(Duration, Work) override { return nullptr; }

    /// Runs what is posted until `condition` holds; false when nothing comes for minutes.
    bool runUntil(const std::function<bool()>& condition)
    {
        while (!condition()) {
            Work next;
            {
                std::unique_lock guard(lock);
                if (!ready.wait_for(guard, 5min, [this] { return !queue.empty(); })) {
                    return false;
                }
                next = std::move(queue.front());
                queue.pop_front();
            }
            next();
        }
        return true;
    }

private:
    std::mutex lock;
    std::condition_variable ready;
    std::deque<Work> queue;
};

/// The real decoder on real threads.
class SphinxThreadsTest : public testing::Test {
protected:
    SphinxThreadsTest() { find(analyzers); }

    /// Lets them look for their models.
    void find(SphinxAnalyzers& looking)
    {
        bool found = false;
        spawn(loop, lookUp(looking, found));
        EXPECT_TRUE(loop.runUntil([&] { return found; }));
    }

    static Task<void> lookUp(SphinxAnalyzers& looking, bool& found)
    {
        co_await looking.supportedLocale("en-US");
        found = true;
    }

    static Task<void> settle(Completion<Done> completion, bool& settled)
    {
        try {
            co_await completion;
        } catch (const Abandoned&) {
        }
        settled = true;
    }

    void finish(SpeechAnalyzer& analyzer)
    {
        bool settled = false;
        spawn(loop, settle(analyzer.finalizeAndFinishThroughEndOfInput(), settled));
        ASSERT_TRUE(loop.runUntil([&] { return settled; }));
    }

    WaitingLoop loop;
    ThreadPool workers{[] {}};
    SphinxAnalyzers analyzers{{systemModels}, workers, loop};
};

TEST_F(SphinxThreadsTest, audioFedFromItsOwnThreadArrivesWhole)
{
    Transcript transcript;
    const auto analyzer = analyzers.start("en-US", transcript.collector());
    std::jthread capture([&] {
        feed(*analyzer, joined({spoken("weather"), silence(1.5), spoken("museum")}));
    });
    capture.join();
    finish(*analyzer);
    EXPECT_GE(transcript.finals(), 2U);
    EXPECT_LE(wordErrors("the weather will be warm and sunny for the rest of the week "
                         "the museum is open every day except on monday",
                         transcript.finalText()),
              2);
}

TEST_F(SphinxThreadsTest, noResultComesAfterCancelReturns)
{
    int heard = 0;
    for (int round = 0; round < 10; ++round) {
        std::atomic<bool> cancelled = false;
        std::atomic<bool> lateResult = false;
        const auto analyzer = analyzers.start("en-US", [&](const std::string&, bool) {
            if (cancelled) {
                lateResult = true;
            }
            loop.post([&heard] { ++heard; });
        });
        feed(*analyzer, spoken("committee"));
        ASSERT_TRUE(loop.runUntil([&heard, before = heard] { return heard > before; }));
        analyzer->cancelAndFinishNow();
        cancelled = true;
        Transcript next;
        const auto after = analyzers.start("en-US", next.collector());
        finish(*after); // by then the cancelled one is over as well
        EXPECT_FALSE(lateResult);
        EXPECT_THAT(next.all(), testing::IsEmpty());
    }
}

TEST_F(SphinxThreadsTest, theLastOwnerMayGoInsideAResult)
{
    struct Owner {
        std::unique_ptr<SpeechAnalyzer> analyzer;
    };
    auto owner = std::make_shared<Owner>();
    bool gone = false;
    owner->analyzer = analyzers.start("en-US", [&, weak = std::weak_ptr(owner)](auto&, bool) {
        if (auto strong = weak.lock()) {
            bool released = false;
            std::mutex lock;
            std::condition_variable done;
            loop.post([&] {
                owner.reset();
                const std::scoped_lock guard(lock);
                released = true;
                done.notify_one();
            });
            std::unique_lock guard(lock);
            done.wait(guard, [&] { return released; });
            guard.unlock();
            strong.reset(); // the last owner, on the recogniser's thread
            loop.post([&] { gone = true; });
        }
    });
    feed(*owner->analyzer, spoken("museum"));
    EXPECT_TRUE(loop.runUntil([&] { return gone; }));
}

TEST_F(SphinxThreadsTest, analyzersMayGoWhileOneDecodes)
{
    Transcript transcript;
    auto own = std::make_unique<SphinxAnalyzers>(std::vector<std::filesystem::path>{systemModels},
                                                 workers, loop);
    find(*own);
    std::atomic<bool> heard = false;
    const auto analyzer = own->start("en-US", [&](const std::string&, bool) {
        heard = true;
        loop.post([] {});
    });
    feed(*analyzer, spoken("committee"));
    ASSERT_TRUE(loop.runUntil([&] { return heard.load(); }));
    own.reset();
}

TEST_F(SphinxThreadsTest, aModelThatNeverLoadsDoesNotHoldUpTheEndOfTheWorkers)
{
    const TemporaryFolder folder;
    linkSystemModel(folder / "en-us");
    const auto file = folder / "en-us/en-us/feat.params";
    std::filesystem::remove(file);
    ASSERT_EQ(::mkfifo(file.c_str(), S_IRUSR | S_IWUSR), 0);
    SphinxAnalyzers hanging{{folder.path()}, workers, loop};
    find(hanging);
    Transcript transcript;
    const auto analyzer = hanging.start("en-US", transcript.collector());
    // Returns when the load has come to the file, which never ends as long as this is open.
    const int writer = ::open(file.c_str(), O_WRONLY | O_CLOEXEC);
    feed(*analyzer, spoken("museum"));
    workers.close();
    EXPECT_FALSE(hanging.holdsModel());
    ::close(writer);
}

} // namespace

} // namespace vorlin
