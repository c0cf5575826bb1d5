#include "Platform/RunUntil.h"
#include "Platform/Shared/Curl/CurlHTTPClient.h"
#include "Platform/Shared/QtMainLoop.h"
#include "Platform/Shared/ThreadPool.h"

#include <gtest/gtest.h>

#include <memory>
#include <optional>
#include <string>
#include <vector>

namespace vorlin {
namespace {

/// A body that nothing reaches.
class Untouched final : public HTTPBody {
public:
    bool accept(const HTTPHead& /*head*/) override { return fail(); }
    bool write(std::span<const std::byte> /*bytes*/) override { return fail(); }

private:
    static bool fail()
    {
        ADD_FAILURE() << "nothing was fetched";
        return false;
    }
};

class MissingLibcurlTest : public testing::Test {
protected:
    ~MissingLibcurlTest() override
    {
        http.close();
        workers.close();
    }

    HTTPClient::TaskId start()
    {
        const auto task =
            http.makeTask({.url = "https://127.0.0.1/", .rest = {}}, std::make_shared<Untouched>(),
                          {.didWrite = [](auto, std::int64_t written) { EXPECT_EQ(written, 0); },
                           .didComplete =
                               [this](auto ended, const auto& error) {
                                   tasks.push_back(ended);
                                   lines.emplace_back(error ? error->what() : "no error");
                               }});
        http.start(task);
        return task;
    }

    QtMainLoop loop;
    ThreadPool workers{[] {}};
    CurlHTTPClient http{loop, workers};
    std::vector<HTTPClient::TaskId> tasks;
    std::vector<std::string> lines;
};

TEST_F(MissingLibcurlTest, eachDownloadFailsWithALineThatSaysWhatIsMissing)
{
    const auto first = start();
    const auto second = start();
    ASSERT_TRUE(runUntil([this] { return tasks.size() == 2; }));
    EXPECT_EQ(tasks, (std::vector{first, second}));
    const auto third = start(); // somebody tries again
    ASSERT_TRUE(runUntil([this] { return tasks.size() == 3; }));
    EXPECT_EQ(tasks.back(), third);
    EXPECT_EQ(lines, std::vector<std::string>(3, "The download failed: libcurl is missing."));
}

TEST_F(MissingLibcurlTest, aDownloadThatIsCancelledEndsOnce)
{
    const auto task = start();
    http.cancel(task);
    ASSERT_TRUE(runUntil([this] { return !tasks.empty(); }));
    start();
    ASSERT_TRUE(runUntil([this] { return tasks.size() == 2; }));
    EXPECT_EQ(tasks.front(), task);
    EXPECT_NE(tasks.back(), task);
}

} // namespace
} // namespace vorlin
