#pragma once

#include "Models/HubAddress.h"
#include "Models/HubDownloads.h"
#include "Models/ModelFolder.h"
#include "fakes/FakeHTTPClient.h"
#include "fakes/FakeWorkingFolders.h"
#include "fakes/HangingWorkers.h"
#include "simulation/SimulatedLoop.h"

#include <gmock/gmock.h>
#include <gtest/gtest.h>

#include <map>
#include <memory>
#include <string>
#include <vector>

namespace vorlin {

/// A hub, a network and a disk that the test plays.
class DownloadFixture : public testing::Test {
protected:
    using Answer = FakeHTTPClient::Answer;
    using Files = FakeWorkingFolders::Files;

    static constexpr const char* hub = "https://hub";
    static constexpr const char* repository = "owner/name";
    static inline const std::filesystem::path destination = "/models/parakeetUltra";
    /// A model of six files, three bytes each.
    static inline const Files model = {
        {"Preprocessor.mlmodelc/model.mil", "pre"},     {"Encoder.mlmodelc/model.mil", "enc"},
        {"Encoder.mlmodelc/weights/weight.bin", "wgt"}, {"Decoder.mlmodelc/model.mil", "dec"},
        {"JointDecisionv3.mlmodelc/model.mil", "jnt"},  {"parakeet_v3_vocab.json", "voc"},
    };

    explicit DownloadFixture(std::uint64_t seed = 1) : loop(seed)
    {
        disk.onMain = [this] { return loop.onMain(); };
    }
    ~DownloadFixture() override
    {
        loop.advance(std::chrono::minutes(10));
        EXPECT_EQ(disk.mistakes, 0);
        EXPECT_EQ(http.inFlight, 0U);
        EXPECT_EQ(http.waiting(), 0U);
        EXPECT_EQ(loop.pendingTimers(), 0U);
    }

    static std::string at(const std::string& path) { return fileAddress(hub, repository, path); }
    static std::string listing() { return listingAddress(hub, repository); }

    /// The hub has these files; `sizes`: and says how large they are.
    void publish(const Files& files, bool sizes = true)
    {
        std::string list = R"([{"type":"directory","path":"Encoder.mlmodelc"},)"
                           R"({"type":"file","path":"README.md","size":999})";
        for (const auto& [path, text] : files) {
            list += R"(,{"type":"file","path":")" + path + "\"";
            list += sizes ? R"(,"size":)" + std::to_string(text.size()) + "}" : "}";
            http.answers[at(path)] = {whole(text)};
        }
        http.answers[listing()] = {whole(list + "]")};
    }
    static Answer whole(const std::string& text)
    {
        return {200, {}, {text}, std::nullopt, false, {}};
    }
    static Answer status(int code) { return {code, {}, {"not this"}, std::nullopt, false, {}}; }
    /// The connection breaks behind `text`.
    static Answer broken(const std::string& text,
                         URLError::Code code = URLError::Code::connectionLost)
    {
        return {200, {}, {text}, code, false, {}};
    }

    struct Outcome {
        /// "running", "complete", "cancelled", or the line of the failure.
        std::string end = "running";
        std::vector<double> progress;
        StopSource stop;
    };

    /// Begins a download.
    std::shared_ptr<Outcome> begin(const std::filesystem::path& folder = destination,
                                   const std::string& from = repository)
    {
        auto outcome = std::make_shared<Outcome>();
        Downloads::OnProgress onProgress = [outcome](double share) {
            EXPECT_EQ(outcome->end, "running");
            outcome->progress.push_back(share);
        };
        spawn(loop,
              await(downloads->download(from, folder, std::move(onProgress), outcome->stop.token()),
                    outcome));
        return outcome;
    }
    /// The outcome of a download that is left alone.
    std::shared_ptr<Outcome> run()
    {
        auto outcome = begin();
        loop.advance(std::chrono::minutes(10));
        return outcome;
    }
    std::string outcomeOf(const std::string& path, const std::deque<Answer>& answers)
    {
        publish(model);
        http.answers[at(path)] = answers;
        return run()->end;
    }

    static Task<void> await(Completion<Done> completion, std::shared_ptr<Outcome> outcome)
    {
        try {
            co_await completion;
            outcome->end = "complete";
        } catch (const DownloadCancelled&) {
            outcome->end = "cancelled";
        } catch (const std::exception& error) {
            outcome->end = error.what();
        }
    }

    std::size_t requestsFor(const std::string& url) const
    {
        return static_cast<std::size_t>(std::ranges::count(http.requests, url, &HTTPRequest::url));
    }

    SimulatedLoop loop;
    HangingWorkers workers{loop};
    FakeHTTPClient http{loop};
    const std::shared_ptr<FakeWorkingFolders> folders = std::make_shared<FakeWorkingFolders>();
    FakeWorkingFolders::Disk& disk = *folders->disk;
    std::unique_ptr<HubDownloads> downloads =
        std::make_unique<HubDownloads>(HubDownload::Needs{loop, workers, http, folders, hub});
};

} // namespace vorlin
