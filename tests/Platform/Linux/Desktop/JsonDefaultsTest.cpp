#include "Platform/Linux/Desktop/JsonDefaults.h"

#include "Async/TimerQueue.h"
#include "Platform/Contracts/DefaultsContract.h"
#include "Platform/Linux/Desktop/SettingsFile.h"
#include "Platform/RunUntil.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"
#include "Preferences.h"
#include "TemporaryFolder.h"
#include "fakes/FakeDesktop.h"

#include <gtest/gtest.h>

#include <algorithm>
#include <atomic>
#include <deque>
#include <fstream>
#include <thread>

namespace vorlin {
namespace {

namespace fs = std::filesystem;

/// A loop or a worker whose work runs when the test says so.
class ByHand final : public MainLoop {
public:
    void post(Work work) override { queue.push_back(std::move(work)); }
    TimePoint now() const override { return {}; }
    [[nodiscard]] Timer startTimer(Duration, Work work) override
    {
        return timers.add({}, std::move(work));
    }

    bool runOne()
    {
        if (Work due = timers.takeDue({})) {
            queue.push_back(std::move(due));
        }
        if (queue.empty()) {
            return false;
        }
        const auto work = std::move(queue.front());
        queue.pop_front();
        work();
        return true;
    }

    std::deque<Work> queue;
    TimerQueue timers;
};

/// A person's file of settings.
struct JsonFile {
    std::unique_ptr<JsonDefaults> open()
    {
        return std::make_unique<JsonDefaults>(file, loop, worker);
    }

    void settle()
    {
        while (worker.runOne() || loop.runOne()) {
        }
    }

    TemporaryFolder folder;
    fs::path file = folder / "Vorlin/settings.json";
    ByHand loop;
    ByHand worker;
};
INSTANTIATE_TYPED_TEST_SUITE_P(Json, DefaultsContract, JsonFile);

class JsonDefaultsTest : public testing::Test, protected JsonFile {
protected:
    void runAll() { settle(); }
    std::string stored() const { return textOf(file); }
};

TEST_F(JsonDefaultsTest, withoutAFileNothingIsStoredAndNoFileIsMade)
{
    const auto defaults = open();
    EXPECT_EQ(defaults->value("sounds"), std::nullopt);
    runAll();
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(JsonDefaultsTest, onlyTheVeryFirstStartMakesAnEmptyFile)
{
    {
        const auto defaults = open();
        EXPECT_TRUE(defaults->create());
        EXPECT_EQ(SettingsFile(file).read().state, SettingsFile::State::readable);
        EXPECT_FALSE(defaults->create());
    }
    EXPECT_FALSE(open()->create());
}

TEST_F(JsonDefaultsTest, whereNoFileCanBeMadeNoStartIsTheFirst)
{
    fs::create_directories(file.parent_path().parent_path());
    std::ofstream(file.parent_path()) << "no folder";
    EXPECT_FALSE(open()->create());
}

TEST_F(JsonDefaultsTest, aSettingIsReadAtOnceAndWrittenByTheWorkerOnly)
{
    const auto defaults = open();
    defaults->set("sounds", false);
    EXPECT_EQ(defaults->value("sounds"), DefaultsValue(false));
    EXPECT_FALSE(fs::exists(file)) << "the main loop must not wait for the disk";
    runAll();
    EXPECT_EQ(stored(), "{\n    \"sounds\": false\n}\n");
}

TEST_F(JsonDefaultsTest, settingsLastFromProgramToProgram)
{
    open()->set("hotkey.v2", Bytes{1, 2, 3}); // its destructor writes it
    EXPECT_EQ(open()->value("hotkey.v2"), DefaultsValue(Bytes{1, 2, 3}));
}

TEST_F(JsonDefaultsTest, enginesThatAPersonWroteAsAListAreUnderstoodAndStoredAsData)
{
    FakeLocale locale;
    fs::create_directories(file.parent_path());
    write(file, R"({
    "customEngines": [{"id": "custom-00000001", "name": "Mine", "summary": "",
                       "sizeLabel": "Custom", "source": {"local": {"_0": "/models/mine"}},
                       "custom": true}]
})");
    const Engine expected{
        "custom-00000001", "Mine", "", "Custom", Engine::Local{"/models/mine"}, true, {}};
    auto defaults = open();
    EXPECT_EQ(Preferences(*defaults, locale).adoptCustomEngines(), std::vector{expected});
    runAll();
    EXPECT_NE(stored().find("\"customEngines\": {\"data\":\"W3si"), std::string::npos) << stored();
    defaults = open();
    EXPECT_EQ(Preferences(*defaults, locale).customEngines(), std::vector{expected});
}

TEST_F(JsonDefaultsTest, enginesThatAreNotUnderstoodStayAsTheyAreToBePutRight)
{
    FakeLocale locale;
    fs::create_directories(file.parent_path());
    const std::string text = "{\n    \"customEngines\": [{\"id\": \"x\"}]\n}\n";
    write(file, text);
    const auto defaults = open();
    EXPECT_TRUE(Preferences(*defaults, locale).adoptCustomEngines().empty());
    runAll();
    EXPECT_EQ(stored(), text);
}

TEST_F(JsonDefaultsTest, twoWritesInARowNeverLoseTheFirst)
{
    auto defaults = open();
    defaults->set("a", 1.0);
    worker.runOne(); // the first is on its way when the second comes
    defaults->set("b", 2.0);
    runAll();
    EXPECT_EQ(stored(), "{\n    \"a\": 1.0,\n    \"b\": 2.0\n}\n");
}

TEST_F(JsonDefaultsTest, theLastOfSeveralValuesOfOneKeyWins)
{
    const auto defaults = open();
    defaults->set("a", 1.0);
    worker.runOne();
    defaults->set("a", 2.0);
    loop.runOne(); // the first write's end must not bring the first value back
    EXPECT_EQ(defaults->value("a"), DefaultsValue(2.0));
    runAll();
    EXPECT_EQ(defaults->value("a"), DefaultsValue(2.0));
    EXPECT_EQ(stored(), "{\n    \"a\": 2.0\n}\n");
}

TEST_F(JsonDefaultsTest, aWriteStillUnderWayAtTheEndIsCompleted)
{
    auto defaults = open();
    defaults->set("a", 1.0);
    defaults->set("b", 2.0);
    defaults.reset();
    EXPECT_EQ(stored(), "{\n    \"a\": 1.0,\n    \"b\": 2.0\n}\n");
    fs::remove(file);
    runAll(); // what is still queued comes too late
    EXPECT_FALSE(fs::exists(file));
}

TEST_F(JsonDefaultsTest, whatIsWrittenNowWaitsForNoWorker)
{
    const auto defaults = open();
    defaults->set("sounds", false);
    EXPECT_FALSE(fs::exists(file));
    defaults->writeNow();
    EXPECT_NE(stored().find("\"sounds\": false"), std::string::npos) << stored();
    defaults->set("sounds", true);
    runAll();
    EXPECT_NE(stored().find("\"sounds\": true"), std::string::npos) << stored();
}

TEST_F(JsonDefaultsTest, anEditFromOutsideIsNotLostByTheNextWrite)
{
    write(folder / "outside", "{}");
    auto defaults = open();
    defaults->set("a", 1.0);
    runAll();
    write(file, R"({"a": 1, "theirs": [1, 2], "language": "de-DE"})"); // nobody has told us yet
    defaults->set("b", 2.0);
    runAll();
    EXPECT_EQ(stored(), "{\n    \"a\": 1,\n    \"theirs\": [1, 2],\n    \"language\": "
                        "\"de-DE\",\n    \"b\": 2.0\n}\n");
    EXPECT_EQ(defaults->value("language"), DefaultsValue(std::string("de-DE")));
}

TEST_F(JsonDefaultsTest, whereBothChangedAKeyOursCountsAndElseTheirs)
{
    auto defaults = open();
    defaults->set("ours", 1.0);
    defaults->set("theirs", 1.0);
    runAll();
    defaults->set("ours", 2.0);
    write(file, R"({"ours": 3, "theirs": 3})");
    runAll();
    EXPECT_EQ(defaults->value("ours"), DefaultsValue(2.0));
    EXPECT_EQ(defaults->value("theirs"), DefaultsValue(3.0));
}

TEST_F(JsonDefaultsTest, removingAKeyRemovesItFromTheFile)
{
    fs::create_directory(file.parent_path());
    write(file, R"({"a": 1, "b": null})");
    auto defaults = open();
    defaults->set("a", std::nullopt);
    defaults->set("b", std::nullopt);
    runAll();
    EXPECT_EQ(stored(), "{}\n");
    EXPECT_EQ(defaults->value("a"), std::nullopt);
}

TEST_F(JsonDefaultsTest, aDamagedFileIsSetAsideAndTheDefaultsHold)
{
    fs::create_directory(file.parent_path());
    write(file, "{\"sounds\": fal");
    testing::internal::CaptureStderr();
    const auto defaults = open();
    EXPECT_NE(testing::internal::GetCapturedStderr().find("damaged"), std::string::npos);
    EXPECT_EQ(defaults->value("sounds"), std::nullopt);
    EXPECT_EQ(textOf(file.string() + ".damaged"), "{\"sounds\": fal");
    defaults->set("sounds", true);
    runAll();
    EXPECT_EQ(stored(), "{\n    \"sounds\": true\n}\n");
    EXPECT_EQ(textOf(file.string() + ".damaged"), "{\"sounds\": fal");
}

TEST_F(JsonDefaultsTest, aFileFoundDamagedLaterCostsNoSettingAndIsSetAsideByTheNextWrite)
{
    auto defaults = open();
    defaults->set("a", 1.0);
    runAll();
    write(file, "{\"a\": ");
    defaults->set("b", 2.0);
    testing::internal::CaptureStderr();
    runAll();
    testing::internal::GetCapturedStderr();
    EXPECT_EQ(stored(), "{\n    \"a\": 1.0,\n    \"b\": 2.0\n}\n");
    EXPECT_EQ(textOf(file.string() + ".damaged"), "{\"a\": ");
}

TEST_F(JsonDefaultsTest, withoutAPlaceToStoreValuesHoldInMemoryAndOneLineSaysSo)
{
    write(folder / "Vorlin", "a file where the folder should be");
    testing::internal::CaptureStderr();
    auto defaults = open();
    for (int i = 0; i < 5; ++i) {
        defaults->set("a", double(i));
        runAll();
        EXPECT_EQ(defaults->value("a"), DefaultsValue(double(i)));
    }
    fs::remove(folder / "Vorlin");
    defaults->set("b", 1.0); // writing works again: everything that was held back is stored
    runAll();
    const auto complaints = testing::internal::GetCapturedStderr();
    EXPECT_EQ(std::ranges::count(complaints, '\n'), 1) << complaints;
    EXPECT_EQ(stored(), "{\n    \"a\": 4.0,\n    \"b\": 1.0\n}\n");
}

TEST_F(JsonDefaultsTest, whatCannotBeReadIsNeverWrittenOver)
{
    fs::create_directories(file); // a folder where the file should be
    write(file / "precious", "x");
    testing::internal::CaptureStderr();
    auto defaults = open();
    defaults->set("a", 1.0);
    runAll();
    defaults.reset();
    EXPECT_EQ(std::ranges::count(testing::internal::GetCapturedStderr(), '\n'), 1);
    EXPECT_EQ(textOf(file / "precious"), "x");
}

/// The same on a real loop, where the file's watch works.
class JsonDefaultsWatchTest : public testing::Test {
protected:
    void startWith(const std::string& text)
    {
        fs::create_directories(file.parent_path());
        write(file, text);
        start();
    }

    void start()
    {
        defaults = std::make_unique<JsonDefaults>(file, loop, pool.executor(WorkPriority::normal));
        observation = defaults->observe([this](const auto& key) { heard.push_back(key); });
    }

    bool comesToHold(const std::string& key, const std::optional<DefaultsValue>& value)
    {
        return runUntil([&] { return defaults->value(key) == value; });
    }

    TemporaryFolder folder;
    fs::path file = folder / "Vorlin/settings.json";
    QtMainLoop loop;
    ThreadPool pool{[] {}};
    std::vector<std::string> heard;
    std::unique_ptr<JsonDefaults> defaults;
    std::shared_ptr<const void> observation;
};

TEST_F(JsonDefaultsWatchTest, anEditInPlaceIsSeenAndToldByKey)
{
    startWith(R"({"a": 1, "b": 1})");
    write(file, R"({"a": 2, "b": 1})");
    EXPECT_TRUE(comesToHold("a", 2.0));
    EXPECT_EQ(heard, std::vector<std::string>{"a"});
}

TEST_F(JsonDefaultsWatchTest, everyOneOfSeveralReplacementsIsSeen)
{
    startWith(R"({"a": 0})");
    for (int i = 1; i <= 3; ++i) {
        write(folder / "Vorlin/new", "{\"a\": " + std::to_string(i) + "}");
        fs::rename(folder / "Vorlin/new", file);
        EXPECT_TRUE(comesToHold("a", double(i)));
    }
}

TEST_F(JsonDefaultsWatchTest, aFileMadeAfterTheStartIsSeenAndItsRemovalToo)
{
    start();
    write(file, R"({"a": 1})");
    EXPECT_TRUE(comesToHold("a", 1.0));
    fs::remove(file);
    EXPECT_TRUE(comesToHold("a", std::nullopt));
    EXPECT_EQ(heard, (std::vector<std::string>{"a", "a"}));
}

TEST_F(JsonDefaultsWatchTest, anEditOfTheTargetOfALinkIsSeen)
{
    fs::create_directory(folder / "dotfiles");
    write(folder / "dotfiles/vorlin.json", R"({"a": 1})");
    fs::create_directory(folder / "Vorlin");
    fs::create_symlink("../dotfiles/vorlin.json", file);
    start();
    write(folder / "dotfiles/vorlin.json", R"({"a": 2})");
    EXPECT_TRUE(comesToHold("a", 2.0));
    defaults->set("b", 1.0);
    ASSERT_TRUE(runUntil([&] {
        return textOf(folder / "dotfiles/vorlin.json").find("\"b\"") != std::string::npos;
    }));
    EXPECT_TRUE(fs::is_symlink(file));
}

TEST_F(JsonDefaultsWatchTest, aTextHalfWrittenCostsNoSettingAndIsLeftToItsEditor)
{
    startWith(R"({"a": 1})");
    write(file, R"({"a": 2, )");
    write(folder / "Vorlin/other", "");
    bool settled = false;
    const Timer timer = loop.startTimer(std::chrono::milliseconds(200), [&] { settled = true; });
    ASSERT_TRUE(runUntil([&] { return settled; }));
    EXPECT_EQ(defaults->value("a"), DefaultsValue(1.0));
    EXPECT_FALSE(fs::exists(file.string() + ".damaged"));
    write(file, R"({"a": 2, "b": 3})");
    EXPECT_TRUE(comesToHold("b", 3.0));
}

TEST_F(JsonDefaultsWatchTest, ourOwnWritesAreNotToldTwice)
{
    startWith(R"({"outside": 0})");
    for (int i = 0; i < 50; ++i) {
        defaults->set("a", double(i));
    }
    ASSERT_TRUE(runUntil([&] { return textOf(file).find("49") != std::string::npos; }));
    write(file, R"({"a": 49, "outside": 1})"); // seen after everything that came before it
    EXPECT_TRUE(comesToHold("outside", 1.0));
    EXPECT_EQ(std::ranges::count(heard, "a"), 50);
}

TEST_F(JsonDefaultsWatchTest, theFileIsWholeAtEveryMomentWhileItIsWritten)
{
    startWith("{}");
    std::atomic<bool> stop = false;
    std::atomic<int> broken = 0;
    std::jthread reader([&] {
        while (!stop) {
            const auto text = textOf(file);
            broken += SettingsText::parse(text) ? 0 : 1;
        }
    });
    for (int i = 0; i < 200; ++i) {
        defaults->set("text", std::string(static_cast<std::size_t>(i) * 50, 'x'));
        QCoreApplication::processEvents();
    }
    EXPECT_TRUE(runUntil([&] { return textOf(file).size() > 9950; }));
    stop = true;
    reader.join();
    EXPECT_EQ(broken, 0);
}

} // namespace
} // namespace vorlin
