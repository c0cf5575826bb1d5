#include "core/DownloadFixture.h"

#include <algorithm>

namespace vorlin {
namespace {

using testing::Contains;
using testing::ElementsAre;
using testing::HasSubstr;
using testing::IsEmpty;

constexpr auto weights = "Encoder.mlmodelc/weights/weight.bin";

/// What becomes of one file, "wgt", whose transfer goes as the test says.
class FileDownloaderTest : public DownloadFixture {
protected:
    /// A server that resumes.
    static Answer resumable(Answer answer, const std::string& tag = "\"one\"")
    {
        answer.headers = {{"etag", tag}, {"accept-ranges", "bytes"}};
        return answer;
    }
    static Answer rest(const std::string& range, const std::string& text,
                       const std::string& tag = "\"one\"")
    {
        return {206, {{"content-range", range}, {"etag", tag}}, {text}, std::nullopt, false, {}};
    }
    std::string fetched() { return disk.placed[destination][weights]; }
    /// What the requests for the file asked the rest behind; -1 for all of it.
    std::vector<std::int64_t> rests() const
    {
        std::vector<std::int64_t> found;
        for (const auto& request : http.requests) {
            if (request.url == at(weights)) {
                found.push_back(request.rest ? request.rest->from : -1);
            }
        }
        return found;
    }
};

TEST_F(FileDownloaderTest, silenceForThirtySecondsIsATimeOut)
{
    publish(model);
    auto silent = whole("w");
    silent.stalls = true;
    http.answers[at(weights)] = {silent};
    const auto outcome = begin();
    loop.advance(std::chrono::seconds(3 * 30 + 1 + 3) - std::chrono::milliseconds(1));
    EXPECT_EQ(outcome->end, "running");
    loop.advance(std::chrono::milliseconds(1));
    EXPECT_EQ(outcome->end, "The model hub did not answer in time. Try again later. It was tried "
                            "three times.");
    EXPECT_EQ(requestsFor(at(weights)), 3U);
    EXPECT_THAT(disk.partial, IsEmpty());
}

TEST_F(FileDownloaderTest, aDiskOfOursThatIsSlowIsNoSilenceOfTheHub)
{
    publish(model);
    auto silent = whole("w");
    silent.stalls = true;
    http.answers[at(weights)] = {silent, whole("wgt")};
    const auto outcome = begin();
    http.holdUp();
    loop.advance(std::chrono::minutes(5));
    EXPECT_EQ(outcome->end, "running");
    EXPECT_EQ(requestsFor(at(weights)), 1U);
    http.release();
    loop.advance(std::chrono::minutes(1) + std::chrono::seconds(1));
    EXPECT_EQ(outcome->end, "complete");
}

TEST_F(FileDownloaderTest, whoeverIsSilentWhileOurDiskIsSlowHasThirtySecondsFromThenOn)
{
    http.answers[listing()] = {{0, {}, {}, std::nullopt, true, {}}};
    const auto outcome = begin();
    loop.advance(std::chrono::seconds(1));
    http.holdUp();
    loop.advance(std::chrono::seconds(28));
    http.release();
    loop.advance(std::chrono::seconds(30));
    EXPECT_EQ(outcome->end, "running");
    loop.advance(std::chrono::seconds(1));
    EXPECT_EQ(outcome->end, "The model hub did not answer in time. Try again later.");
}

TEST_F(FileDownloaderTest, theListIsAskedForOnceAndNotWaitedForLonger)
{
    http.answers[listing()] = {{0, {}, {}, std::nullopt, true, {}}};
    const auto outcome = begin();
    loop.advance(std::chrono::seconds(30));
    EXPECT_EQ(outcome->end, "The model hub did not answer in time. Try again later.");
}

TEST_F(FileDownloaderTest, aTrickleIsNoTimeOut)
{
    publish(model);
    auto slow = whole("w");
    slow.pieces = {"w", "g", "t"};
    slow.delay = std::chrono::seconds(29);
    http.answers[at(weights)] = {slow};
    EXPECT_EQ(run()->end, "complete");
    EXPECT_THAT(rests(), ElementsAre(-1));
}

TEST_F(FileDownloaderTest, aLostConnectionIsTriedTwiceMoreFromTheBeginning)
{
    EXPECT_EQ(outcomeOf(weights, {broken("w"), broken("wg"), whole("wgt")}), "complete");
    EXPECT_EQ(fetched(), "wgt");
    EXPECT_THAT(rests(), ElementsAre(-1, -1, -1));
}

TEST_F(FileDownloaderTest, afterTheThirdTimeItFails)
{
    EXPECT_EQ(outcomeOf(weights, {broken("w"), broken("w"), broken("w"), whole("wgt")}),
              "The connection to the model hub was lost. It was tried three times.");
    EXPECT_EQ(requestsFor(at(weights)), 3U);
}

TEST_F(FileDownloaderTest, errorsOfTheServerAreTriedTwiceMoreAndRefusalsNever)
{
    EXPECT_EQ(outcomeOf(weights, {status(503), status(500), whole("wgt")}), "complete");
    http.requests.clear();
    EXPECT_EQ(outcomeOf(weights, {status(502)}),
              "The model hub has a problem of its own (502). Try again later. It was tried three "
              "times.");
    EXPECT_EQ(requestsFor(at(weights)), 3U);
    http.requests.clear();
    for (const int code : {400, 401, 403, 404, 416, 429}) {
        outcomeOf(weights, {status(code), whole("wgt")});
    }
    EXPECT_EQ(requestsFor(at(weights)), 6U);
}

TEST_F(FileDownloaderTest, everyOtherStatusThanTwoHundredIsRefused)
{
    for (const int code : {204, 206, 304}) {
        EXPECT_THAT(outcomeOf(weights, {status(code)}),
                    HasSubstr("refused a file of the model (" + std::to_string(code)));
    }
}

TEST_F(FileDownloaderTest, failuresThatDoNotPassAreNotTriedAgain)
{
    for (const auto code : {URLError::Code::certificateNotTrusted, URLError::Code::noNetwork,
                            URLError::Code::redirectRefused, URLError::Code::hostNotFound}) {
        http.requests.clear();
        EXPECT_EQ(outcomeOf(weights, {broken("w", code), whole("wgt")}), URLError(code).what());
        EXPECT_EQ(requestsFor(at(weights)), 1U);
    }
}

TEST_F(FileDownloaderTest, aServerThatResumesIsAskedForTheRest)
{
    EXPECT_EQ(outcomeOf(weights, {resumable(broken("w")), rest("bytes 1-2/3", "gt")}), "complete");
    EXPECT_EQ(fetched(), "wgt");
    EXPECT_THAT(rests(), ElementsAre(-1, 1));
    EXPECT_EQ(http.requests.back().url == at(weights) ? http.requests.back().rest->entityTag
                                                      : "\"one\"",
              "\"one\"");
}

TEST_F(FileDownloaderTest, twoInterruptionsAreResumedOneBehindTheOther)
{
    auto second = rest("bytes 1-2/3", "g");
    second.error = URLError::Code::connectionLost;
    EXPECT_EQ(outcomeOf(weights, {resumable(broken("w")), second, rest("bytes 2-2/*", "t")}),
              "complete");
    EXPECT_EQ(fetched(), "wgt");
    EXPECT_THAT(rests(), ElementsAre(-1, 1, 2));
}

TEST_F(FileDownloaderTest, anEntityThatChangedComesWholeAndTakesItsBytesBack)
{
    publish(model);
    http.answers[at(weights)] = {resumable(broken("xy")), resumable(whole("wgt"), "\"two\"")};
    const auto outcome = run();
    EXPECT_EQ(outcome->end, "complete");
    EXPECT_EQ(fetched(), "wgt");
    EXPECT_DOUBLE_EQ(outcome->progress.back(), 1.0);
    EXPECT_THAT(rests(), ElementsAre(-1, 2));
}

TEST_F(FileDownloaderTest, aFileThatBeginsAnewTakesItsBytesBack)
{
    publish(model);
    for (const auto& [path, text] : model) {
        if (path != weights) {
            http.answers[at(path)].front().delay = std::chrono::seconds(20);
        }
    }
    http.answers[at(weights)] = {broken("wg"), whole("wgt")};
    const auto outcome = run();
    EXPECT_EQ(outcome->end, "complete");
    ASSERT_GE(outcome->progress.size(), 2U);
    EXPECT_THAT(outcome->progress, Contains(testing::DoubleEq(2.0 / 18)));
    EXPECT_THAT(outcome->progress, Contains(testing::DoubleEq(0.0)));
    EXPECT_DOUBLE_EQ(outcome->progress.back(), 1.0);
}

TEST_F(FileDownloaderTest, anAttemptThatFailsBeforeItsAnswerTakesNothingBack)
{
    const Answer refused{0, {}, {}, URLError::Code::connectionLost, false, {}};
    for (const bool resumes : {true, false}) {
        publish(model);
        http.answers[at(weights)] =
            resumes ? std::deque<Answer>{resumable(broken("wg")), refused, rest("bytes 2-2/3", "t")}
                    : std::deque<Answer>{broken("wg"), refused, refused};
        const auto outcome = run();
        EXPECT_EQ(outcome->end == "complete", resumes) << outcome->end;
        EXPECT_TRUE(std::ranges::is_sorted(outcome->progress));
    }
}

TEST_F(FileDownloaderTest, aRestThatEndsBeforeTheFileDoesIsNoModelEvenWhereNoSizeIsListed)
{
    publish(model, false);
    http.answers[at(weights)] = {resumable(broken("w")), rest("bytes 1-1/3", "g")};
    EXPECT_THAT(run()->end, HasSubstr("refused a file of the model (206)"));
    EXPECT_THAT(disk.placed[destination], IsEmpty());
}

TEST_F(FileDownloaderTest, whereNoSizeIsListedARestGoesToTheEndOfWhatWasAnnounced)
{
    const auto resumed = [this](const std::string& announced, const Answer& answer) {
        publish(model, false);
        auto first = resumable(broken("w"));
        first.headers["content-length"] = announced;
        http.answers[at(weights)] = {first, answer};
        return run()->end;
    };
    for (const auto& answer :
         {rest("bytes 1-1/*", "g"), rest("bytes 1-1/2", "g"), rest("bytes 1-1/3", "g"),
          rest("bytes 1-2/4", "gt"), rest("bytes 1-3/4", "gtx"), rest("bytes 1-3/*", "gtx")}) {
        EXPECT_THAT(resumed("3", answer), HasSubstr("refused a file of the model (206)"))
            << answer.headers.at("content-range");
        EXPECT_THAT(disk.placed[destination], IsEmpty());
    }
    EXPECT_THAT(resumed("", rest("bytes 1-2/*", "gt")), HasSubstr("(206)"));
    EXPECT_EQ(resumed("3", rest("bytes 1-2/*", "gt")), "complete");
    EXPECT_EQ(fetched(), "wgt");
    EXPECT_EQ(resumed("", rest("bytes 1-2/3", "gt")), "complete");
}

TEST_F(FileDownloaderTest, whereNoSizeIsListedWhatArrivesIsHeldAgainstWhatWasAnnounced)
{
    auto shorter = whole("wg");
    shorter.headers["content-length"] = "3";
    publish(model, false);
    http.answers[at(weights)] = {shorter};
    EXPECT_EQ(run()->end,
              "The model hub sent less than it announced for Encoder.mlmodelc/weights/weight.bin.");
    http.requests.clear();
    auto lost = broken("wgt");
    lost.headers["content-length"] = "3";
    publish(model, false);
    http.answers[at(weights)] = {lost};
    EXPECT_EQ(run()->end, "complete");
    EXPECT_EQ(requestsFor(at(weights)), 1U);
}

TEST_F(FileDownloaderTest, anEntityThatChangedIsHeldAgainstItsOwnSize)
{
    publish(model, false);
    auto first = resumable(broken("wg"));
    first.headers["content-length"] = "3";
    http.answers[at(weights)] = {first, resumable(whole("xy"), "\"two\"")};
    EXPECT_EQ(run()->end, "complete");
    EXPECT_EQ(fetched(), "xy");
}

TEST_F(FileDownloaderTest, onlyARestThatContinuesTheFileIsTaken)
{
    for (const auto& answer :
         {rest("bytes 0-2/3", "wgt"), rest("bytes 2-2/3", "t"), rest("bytes 1-2/4", "gt"),
          rest("bytes 1-3/3", "gt"), rest("bytes 2-1/3", "gt"), rest("", "gt"),
          rest("bytes 1-1/3", "g"), rest("bytes x-2/3", "gt"), rest("bytes 1-2/3x", "gt"),
          rest("items 1-2/3", "gt"), rest("bytes 1-2/3", "gt", "\"two\"")}) {
        EXPECT_THAT(outcomeOf(weights, {resumable(broken("w")), answer}),
                    HasSubstr("refused a file of the model (206)"))
            << answer.headers.at("content-range");
    }
}

TEST_F(FileDownloaderTest, aTagThatIsWeakOrNoTagIsNotResumed)
{
    EXPECT_EQ(outcomeOf(weights, {resumable(broken("w"), "\"o\tne\""), whole("wgt")}), "complete");
    EXPECT_THAT(rests(), ElementsAre(-1, -1));
    http.requests.clear();
    EXPECT_EQ(outcomeOf(weights, {resumable(broken("w"), "W/\"one\""), whole("wgt")}), "complete");
    EXPECT_THAT(rests(), ElementsAre(-1, -1));
}

TEST_F(FileDownloaderTest, whatIsLostBehindTheLastByteIsNoLoss)
{
    EXPECT_EQ(outcomeOf(weights, {broken("wgt")}), "complete");
    EXPECT_EQ(requestsFor(at(weights)), 1U);
    EXPECT_EQ(outcomeOf(weights, {broken("w"), broken("w"), broken("wgt")}), "complete");
    EXPECT_EQ(fetched(), "wgt");
}

TEST_F(FileDownloaderTest, whatArrivesIsHeldAgainstTheListedSize)
{
    EXPECT_EQ(outcomeOf(weights, {whole("wg")}),
              "The model hub sent less than it lists for Encoder.mlmodelc/weights/weight.bin.");
    EXPECT_EQ(requestsFor(at(weights)), 1U);
    auto longer = whole("");
    longer.pieces = {"wgt", "x", "never written"};
    EXPECT_EQ(outcomeOf(weights, {longer}),
              "The model hub sent more than it lists for Encoder.mlmodelc/weights/weight.bin.");
    auto announced = whole("wgt");
    announced.headers["content-length"] = "4";
    EXPECT_THAT(outcomeOf(weights, {announced}), HasSubstr("more than it lists"));
}

TEST_F(FileDownloaderTest, aFileOfNoBytesIsAFile)
{
    Files files = model;
    files[weights] = "";
    publish(files);
    http.answers[at(weights)].front().pieces.clear();
    EXPECT_EQ(run()->end, "complete");
    EXPECT_EQ(disk.placed[destination], files);
}

TEST_F(FileDownloaderTest, aServerThatFailsHasNotGivenAFileOfNoBytesEither)
{
    Files files = model;
    files[weights] = "";
    publish(files);
    http.answers[at(weights)] = {status(503)};
    EXPECT_THAT(run()->end, HasSubstr("(503)"));
    EXPECT_EQ(requestsFor(at(weights)), 3U);
}

TEST_F(FileDownloaderTest, eachFailureIsOneLineThatAPersonUnderstands)
{
    using Code = URLError::Code;
    const std::map<Code, std::string> lines = {
        {Code::noNetwork, "There is no network connection. Connect to a network and try again."},
        {Code::hostNotFound, "The model hub's address could not be found. Check the network "
                             "connection and try again."},
        {Code::hostUnreachable,
         "The model hub cannot be reached. Check the network connection and try again."},
        {Code::certificateNotTrusted, "The server that answered could not prove that it is the "
                                      "model hub: its certificate is not trusted."},
        {Code::redirectRefused, "The model hub led to an address that is not safe, and the "
                                "download was stopped."},
        {Code::redirectedTooOften, "The model hub led from one address to the next without end."},
        {Code::proxyRefused, "The network's proxy did not let the download through."},
        {Code::badServerResponse, "The answer was not the model hub's. A network that wants a "
                                  "login first can be the cause."},
        {Code::connectionLost, "The connection to the model hub was lost."},
        {Code::timedOut, "The model hub did not answer in time. Try again later."},
    };
    publish(model);
    for (const auto& [code, line] : lines) {
        http.answers[listing()] = {broken("", code)};
        http.answers[listing()].front().pieces.clear();
        EXPECT_EQ(run()->end, line);
    }
}

TEST_F(FileDownloaderTest, aHubThatAsksForPatienceIsQuotedWithItsTime)
{
    const auto asked = [this](const std::string& time) {
        auto answer = status(429);
        answer.headers["retry-after"] = time;
        return outcomeOf(weights, {answer});
    };
    const std::string line = "The model hub takes no more requests for now (429). Try again ";
    EXPECT_EQ(asked("1"), line + "in 1 second.");
    EXPECT_EQ(asked("120"), line + "in 120 seconds.");
    EXPECT_EQ(asked("121"), line + "in 3 minutes.");
    EXPECT_EQ(asked("300"), line + "in 5 minutes.");
    EXPECT_EQ(asked("7200"), line + "in 120 minutes.");
    EXPECT_EQ(asked("7201"), line + "in 3 hours.");
    EXPECT_EQ(asked("86400"), line + "in 24 hours.");
    for (const auto* none : {"", "-5", "Fri, 31 Dec 2027 23:59:59 GMT", "99999999999999999999"}) {
        EXPECT_EQ(asked(none), line + "later.");
    }
}

} // namespace
} // namespace vorlin
