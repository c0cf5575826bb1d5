#include "core/DownloadFixture.h"

namespace vorlin {
namespace {

using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

class HubDownloadsTest : public DownloadFixture {};

constexpr auto weights = "Encoder.mlmodelc/weights/weight.bin";

TEST_F(HubDownloadsTest, bringsExactlyTheFilesOfTheModelIntoPlace)
{
    publish(model);
    EXPECT_EQ(run()->end, "complete");
    EXPECT_EQ(disk.placed[destination], model);
    EXPECT_THAT(disk.partial, IsEmpty());
    EXPECT_EQ(http.requests.size(), 1 + model.size());
    EXPECT_EQ(requestsFor(at("README.md")), 0U);
}

TEST_F(HubDownloadsTest, asksTheNetworkForNothingUnlessADownloadIsAskedFor)
{
    publish(model);
    loop.advance(std::chrono::hours(24));
    EXPECT_THAT(http.requests, IsEmpty());
}

TEST_F(HubDownloadsTest, reportsTheShareOfAllBytes)
{
    publish(model);
    const auto outcome = run();
    ASSERT_EQ(outcome->progress.size(), model.size());
    for (std::size_t i = 0; i < model.size(); ++i) {
        EXPECT_DOUBLE_EQ(outcome->progress[i], static_cast<double>(i + 1) / 6);
    }
}

TEST_F(HubDownloadsTest, withoutSizesTheShareJumpsToOneWithTheFirstBytes)
{
    publish(model, false);
    const auto outcome = run();
    EXPECT_EQ(outcome->end, "complete");
    EXPECT_EQ(outcome->progress, std::vector<double>(model.size(), 1.0));
}

TEST_F(HubDownloadsTest, startsInTheOrderOfTheListWithThreeFilesInTransferAtMost)
{
    publish(model);
    const auto outcome = begin();
    for (const auto& [path, text] : model) {
        http.answers[at(path)].front().delay = std::chrono::seconds(1);
    }
    loop.runReady();
    ASSERT_EQ(http.requests.size(), 4U);
    auto path = model.begin();
    for (std::size_t i = 1; i < 4; ++i, ++path) {
        EXPECT_EQ(http.requests[i].url, at(path->first));
    }
    loop.advance(std::chrono::minutes(1));
    EXPECT_EQ(outcome->end, "complete");
    EXPECT_EQ(http.mostInFlight, 3U);
}

TEST_F(HubDownloadsTest, aRepositoryThatIsNotListedIsNotFound)
{
    for (const int code : {404, 401, 403, 500, 204, 206, 302}) {
        publish(model);
        http.answers[listing()] = {status(code)};
        EXPECT_EQ(run()->end, "Couldn't find “owner/name” on Hugging Face (or it needs a login).");
    }
    EXPECT_EQ(requestsFor(listing()), 7U);
    EXPECT_EQ(http.requests.size(), 7U);
}

TEST_F(HubDownloadsTest, aRepositoryWithoutARequiredNameIsIncompatible)
{
    Files less = model;
    less.erase("JointDecisionv3.mlmodelc/model.mil");
    less.erase("parakeet_v3_vocab.json");
    publish(less);
    EXPECT_EQ(run()->end, "That repository isn't a compatible Parakeet CoreML export. Missing: "
                          "JointDecisionv3.mlmodelc, parakeet_v3_vocab.json.");
    http.answers[listing()] = {whole("[]")};
    EXPECT_EQ(run()->end, "That repository isn't a compatible Parakeet CoreML export. Missing: "
                          "Preprocessor.mlmodelc, Encoder.mlmodelc, Decoder.mlmodelc, "
                          "JointDecisionv3.mlmodelc, parakeet_v3_vocab.json.");
    EXPECT_THAT(disk.partial, IsEmpty());
}

TEST_F(HubDownloadsTest, aRequiredNameWithoutAnyFileEndsWithALine)
{
    Files less = model;
    less.erase("Encoder.mlmodelc/model.mil");
    less.erase(weights);
    publish(less);
    EXPECT_EQ(run()->end, "That repository isn't a compatible Parakeet CoreML export. Missing: "
                          "Encoder.mlmodelc.");
}

TEST_F(HubDownloadsTest, aListThatIsNotTheHubsEndsWithALine)
{
    http.answers[listing()] = {whole("<html>Log in</html>")};
    EXPECT_THAT(run()->end, HasSubstr("The answer was not the model hub's."));
    http.answers[listing()] = {whole(std::string(largestListing + 1, ' '))};
    EXPECT_EQ(run()->end, "The model hub's list of files is too long.");
    http.answers[listing()] = {whole(R"([{"type":"file","path":"Encoder.mlmodelc/../x"}])")};
    EXPECT_THAT(run()->end, HasSubstr("isn't a compatible"));
    publish(model);
    http.answers[listing()].front().pieces[0].insert(
        1, R"({"type":"file","path":"Encoder.mlmodelc/../../x"},)");
    EXPECT_EQ(run()->end, "The model hub's list of files cannot be used: the name "
                          "Encoder.mlmodelc/../../x is not allowed.");
    EXPECT_THAT(disk.partial, IsEmpty());
    EXPECT_THAT(disk.placed, IsEmpty());
}

TEST_F(HubDownloadsTest, oneFileThatFailsEndsAllAndLeavesThePreviousModel)
{
    const Files previous = {{"parakeet_v3_vocab.json", "previous"}};
    disk.placed[destination] = previous;
    publish(model);
    http.answers[at("JointDecisionv3.mlmodelc/model.mil")] = {status(404)};
    http.answers[at(weights)].front().stalls = true;
    const auto outcome = begin();
    loop.advance(std::chrono::seconds(1));
    EXPECT_EQ(outcome->end, "The model hub refused a file of the model (404): "
                            "JointDecisionv3.mlmodelc/model.mil.");
    EXPECT_EQ(disk.placed[destination], previous);
    EXPECT_THAT(disk.partial, IsEmpty());
    EXPECT_EQ(http.inFlight, 0U);
}

TEST_F(HubDownloadsTest, replacesThePreviousModel)
{
    disk.placed[destination] = {{"old", "old"}};
    publish(model);
    EXPECT_EQ(run()->end, "complete");
    EXPECT_EQ(disk.placed[destination], model);
}

TEST_F(HubDownloadsTest, aDiskThatRefusesEndsWithItsLine)
{
    publish(model);
    for (const auto& [what, line] : {
             std::pair("create", "permission denied"),
             std::pair("Encoder.mlmodelc/model.mil", "it is a link"),
             std::pair("move", "the disk is broken"),
         }) {
        disk.refusals = {{what, line}};
        EXPECT_EQ(run()->end, std::string("The models folder cannot be written to: ") + line + ".");
        EXPECT_THAT(disk.partial, IsEmpty());
        EXPECT_THAT(disk.placed, IsEmpty());
    }
}

TEST_F(HubDownloadsTest, tooLittleRoomIsSaidBeforeAnyFileIsFetched)
{
    publish(model);
    disk.room = 17;
    EXPECT_EQ(run()->end, "There is not enough room on the disk: the model needs 18 bytes, and 17 "
                          "bytes are free.");
    EXPECT_EQ(http.requests.size(), 1U);
    EXPECT_THAT(disk.partial, IsEmpty());
}

TEST_F(HubDownloadsTest, aDiskThatFillsUpEndsTheDownloadWithoutATrace)
{
    publish(model, false);
    disk.room = 16;
    EXPECT_EQ(run()->end, "The disk is full. Make room and try again.");
    EXPECT_THAT(disk.partial, IsEmpty());
    EXPECT_EQ(disk.room, 16U);
}

TEST_F(HubDownloadsTest, theNextPressAfterABrokenTransferStartsCleanly)
{
    EXPECT_THAT(outcomeOf(weights, {broken("w")}), HasSubstr("lost"));
    publish(model);
    EXPECT_EQ(run()->end, "complete");
    EXPECT_EQ(disk.placed[destination], model);
}

TEST_F(HubDownloadsTest, cancellingEndsAllAtOnceWheneverItComes)
{
    for (int step = 0; step < 40; ++step) {
        publish(model);
        for (auto& [url, answers] : http.answers) {
            answers.front().delay = std::chrono::seconds(1);
        }
        const auto outcome = begin();
        loop.advance(std::chrono::milliseconds(100 + 250 * step));
        const bool wasOver = outcome->end == "complete";
        outcome->stop.requestStop();
        loop.runReady();
        EXPECT_EQ(outcome->end, wasOver ? "complete" : "cancelled") << step;
        EXPECT_THAT(disk.partial, IsEmpty());
        EXPECT_EQ(http.inFlight, 0U);
    }
}

TEST_F(HubDownloadsTest, cancellingWhileAFileWaitsForItsNextAttemptEndsAtOnce)
{
    publish(model);
    http.answers[at(weights)] = {broken("w")};
    const auto outcome = begin();
    loop.advance(std::chrono::milliseconds(500));
    EXPECT_EQ(outcome->end, "running");
    outcome->stop.requestStop();
    loop.runReady();
    EXPECT_EQ(outcome->end, "cancelled");
}

TEST_F(HubDownloadsTest, cancelledBeforeItStartsItTouchesNothing)
{
    publish(model);
    const auto outcome = begin();
    outcome->stop.requestStop();
    loop.runReady();
    EXPECT_EQ(outcome->end, "cancelled");
    EXPECT_THAT(http.requests, IsEmpty());
}

TEST_F(HubDownloadsTest, twoDownloadsDoNotMeet)
{
    publish(model);
    http.otherwise = [this](const HTTPRequest& request) {
        const std::string other = "/second/one/";
        auto url = request.url;
        url.replace(url.find(other), other.size(), "/owner/name/");
        return http.answers.at(url).front();
    };
    const auto one = begin();
    const auto two = begin("/models/second", "second/one");
    loop.advance(std::chrono::minutes(1));
    EXPECT_EQ(one->end, "complete");
    EXPECT_EQ(two->end, "complete");
    EXPECT_EQ(disk.placed[destination], model);
    EXPECT_EQ(disk.placed["/models/second"], model);
}

TEST_F(HubDownloadsTest, theEndOfTheProgramLeavesNoWorkingFolder)
{
    for (int step = 0; step < 30; ++step) {
        publish(model);
        for (auto& [url, answers] : http.answers) {
            answers.front().delay = std::chrono::seconds(1);
        }
        begin();
        loop.advance(std::chrono::milliseconds(100 + 250 * step));
        downloads.reset();
        loop.runReady();
        EXPECT_THAT(disk.partial, IsEmpty());
        EXPECT_EQ(http.inFlight, 0U);
        downloads =
            std::make_unique<HubDownloads>(HubDownload::Needs{loop, workers, http, folders, hub});
    }
}

TEST_F(HubDownloadsTest, whateverADownloadEndsOfItTakesAlongWhatAnEarlierOneLeft)
{
    const Files left = {{"left", "by a crash"}};
    for (const int code : {404, 500}) {
        publish(model);
        http.answers[listing()] = {status(code)};
        disk.partial[destination] = left;
        EXPECT_THAT(run()->end, HasSubstr("Couldn't find"));
        EXPECT_THAT(disk.partial, IsEmpty());
    }
    publish(model);
    http.answers[listing()].front().stalls = true;
    disk.partial[destination] = left;
    const auto cancelled = begin();
    loop.runReady();
    cancelled->stop.requestStop();
    loop.runReady();
    EXPECT_EQ(cancelled->end, "cancelled");
    EXPECT_THAT(disk.partial, IsEmpty());
    disk.partial[destination] = left;
    begin();
    loop.runReady();
    downloads.reset(); // the end of the program
    loop.runReady();
    EXPECT_THAT(disk.partial, IsEmpty());
}

TEST_F(HubDownloadsTest, aDiskThatHangsAtTheEndOfTheProgramGetsNoFileAnyMore)
{
    publish(model);
    workers.hanging = true;
    begin();
    loop.runReady();
    downloads.reset();
    workers.answer();
    loop.runReady();
    EXPECT_THAT(disk.partial, IsEmpty());
}

} // namespace
} // namespace vorlin
