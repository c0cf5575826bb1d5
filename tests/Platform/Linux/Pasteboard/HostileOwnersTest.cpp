#include "Platform/Linux/Pasteboard/PasteboardFixture.h"

#include <cstring>

namespace vorlin {

using namespace std::chrono_literals;

namespace {

using Request = ScriptedOwner::Request;

/// Offers text that can be read and something bad beside it, of which nothing may be kept.
class HostileOwners : public PasteboardFixture {
protected:
    HostileOwners() { limit(800ms, 1U << 20U); }

    static ScriptedOwner::Script textAnd(const std::string& bad, ScriptedOwner::Script misbehave)
    {
        return [=](ScriptedOwner& self, const Request& request) {
            const std::string target = self.name(request.target);
            if (target == "TARGETS") {
                self.putTargets(request, {bad, "STRING"});
            } else if (target == bad) {
                misbehave(self, request);
            } else if (target == "STRING") {
                self.put(request, plain("STRING", bytesOf("kept")));
            } else {
                self.refuse(request);
            }
        };
    }

    void expectOnlyTextIsKept(ScriptedOwner::Script misbehave)
    {
        const ScriptedOwner owner(textAnd("image/png", std::move(misbehave)));
        EXPECT_EQ(snapshot(), (PasteboardSnapshot{{{"STRING", bytesOf("kept")}}}));
        EXPECT_GE(owner.asked("image/png"), 1);
    }
};

} // namespace

TEST_F(HostileOwners, oneThatNeverAnswersLeavesTheSnapshotEmpty)
{
    const ScriptedOwner owner([](ScriptedOwner&, const Request&) {});
    EXPECT_TRUE(snapshot().empty());
    EXPECT_TRUE(snapshot().empty());
}

TEST_F(HostileOwners, oneThatKeepsSilentAboutOneTypeLosesOnlyThat)
{
    expectOnlyTextIsKept([](ScriptedOwner&, const Request&) {});
}

TEST_F(HostileOwners, oneThatIsSilentAboutTextDoesNotHoldUpTheRest)
{
    const ScriptedOwner owner(textAnd("UTF8_STRING", [](ScriptedOwner&, const Request&) {}));
    EXPECT_EQ(snapshot(), (PasteboardSnapshot{{{"STRING", bytesOf("kept")}}}));
}

TEST_F(HostileOwners, oneWithoutAListThatIsSilentAboutItIsAskedForText)
{
    const ScriptedOwner owner([](ScriptedOwner& self, const Request& request) {
        if (self.name(request.target) == "STRING") {
            self.put(request, plain("STRING", bytesOf("kept")));
        }
    });
    EXPECT_EQ(snapshot(), (PasteboardSnapshot{{{"STRING", bytesOf("kept")}}}));
}

TEST_F(HostileOwners, oneThatRefusesATypeItListsLosesOnlyThat)
{
    expectOnlyTextIsKept([](ScriptedOwner& self, const Request& request) { self.refuse(request); });
}

TEST_F(HostileOwners, anIncrementalTransferWithoutEndIsLeftOut)
{
    expectOnlyTextIsKept([](ScriptedOwner& self, const Request& request) {
        self.announce(request, 10);
        while (self.awaitTaken(request)) {
            self.setProperty(request, plain("image/png", {1, 2, 3}));
            xcb_flush(self.connection);
        }
    });
}

TEST_F(HostileOwners, anIncrementalTransferThatStopsIsLeftOut)
{
    expectOnlyTextIsKept([](ScriptedOwner& self, const Request& request) {
        self.announce(request, 10);
        self.awaitTaken(request);
        self.setProperty(request, plain("image/png", {1, 2, 3}));
    });
}

TEST_F(HostileOwners, moreThanTheLimitIsLeftOut)
{
    expectOnlyTextIsKept([](ScriptedOwner& self, const Request& request) {
        self.putIncrementally(request, plain("image/png", noise(2U << 20U)));
    });
    expectOnlyTextIsKept([](ScriptedOwner& self, const Request& request) {
        self.put(request, plain("image/png", noise(2U << 20U)));
    });
}

TEST_F(HostileOwners, theLimitHoldsForAllTypesTogetherAndTextComesFirst)
{
    std::map<std::string, Typed> data;
    for (int i = 0; i < 8; ++i) {
        const std::string type = "application/x-" + std::to_string(i);
        data[type] = plain(type, noise(190'000));
    }
    data["text/plain"] = plain("text/plain", noise(400'000));
    const ScriptedOwner owner(offering(data));
    const auto contents = snapshot();
    ASSERT_EQ(contents.size(), 1U);
    std::size_t size = 0;
    for (const auto& [type, bytes] : contents[0]) {
        size += bytes.size();
        EXPECT_EQ(bytes, data.at(type).bytes);
    }
    EXPECT_TRUE(contents[0].contains("text/plain"));
    EXPECT_LE(size, 1U << 20U);
    EXPECT_GT(size, 700'000U);
}

TEST_F(HostileOwners, aSizeThatIsALieCostsNothing)
{
    const ScriptedOwner owner(textAnd("image/png", [](ScriptedOwner& self, const Request& request) {
        self.announce(request, 0xffffffff);
        self.awaitTaken(request);
        self.setProperty(request, plain("image/png", {7}));
        xcb_flush(self.connection);
        self.awaitTaken(request);
        self.setProperty(request, plain("image/png", {}));
    }));
    EXPECT_EQ(snapshot(), (PasteboardSnapshot{{{"STRING", bytesOf("kept")}, {"image/png", {7}}}}));
}

TEST_F(HostileOwners, piecesAfterTheEndAreNobodys)
{
    const ScriptedOwner owner(textAnd("image/png", [](ScriptedOwner& self, const Request& request) {
        self.putIncrementally(request, plain("image/png", {7, 8}));
        self.awaitTaken(request);
        for (int i = 0; i < 5; ++i) {
            self.setProperty(request, plain("image/png", {9}));
            self.notify(request, request.property);
        }
    }));
    for (int i = 0; i < 3; ++i) {
        EXPECT_EQ(snapshot(),
                  (PasteboardSnapshot{{{"STRING", bytesOf("kept")}, {"image/png", {7, 8}}}}));
    }
}

TEST_F(HostileOwners, piecesOfChangingTypeAreLeftOut)
{
    expectOnlyTextIsKept([](ScriptedOwner& self, const Request& request) {
        self.announce(request, 10);
        self.awaitTaken(request);
        self.setProperty(request, plain("image/png", {1, 2, 3}));
        xcb_flush(self.connection);
        self.awaitTaken(request);
        self.setProperty(request, plain("image/gif", {1, 2, 3}));
        xcb_flush(self.connection);
        self.awaitTaken(request);
        self.setProperty(request, plain("image/png", {}));
    });
}

TEST_F(HostileOwners, answersToOtherQuestionsAreIgnored)
{
    expectOnlyTextIsKept([](ScriptedOwner& self, const Request& request) {
        Request other = request;
        other.target = self.atom("STRING");
        self.put(other, plain("STRING", bytesOf("forged")));
        other = request;
        other.selection = XCB_ATOM_PRIMARY;
        self.put(other, plain("STRING", bytesOf("forged")));
        self.notify(request, self.atom("ANOTHER_PROPERTY"));
    });
}

TEST_F(HostileOwners, anAnswerWithoutDataIsNone)
{
    expectOnlyTextIsKept([](ScriptedOwner& self, const Request& request) {
        self.notify(request, request.property);
    });
}

TEST_F(HostileOwners, oneThatDiesLeavesWhatHadBeenRead)
{
    expectOnlyTextIsKept([](ScriptedOwner& self, const Request& request) {
        self.announce(request, 10);
        self.awaitTaken(request);
        self.setProperty(request, plain("image/png", {1, 2, 3}));
        self.die();
    });
    EXPECT_TRUE(snapshot().empty());
}

TEST_F(HostileOwners, aListThatIsNoneIsTakenForNone)
{
    for (const Typed& list : {Typed{"ATOM", 8, {1, 2, 3}}, Typed{"INTEGER", 32, {1, 0, 0, 0}},
                              Typed{"STRING", 8, bytesOf("TARGETS")}, Typed{"ATOM", 32, {}},
                              Typed{"ATOM", 32, noise(400)}, Typed{"ATOM", 32, Bytes(4000, 0)}}) {
        const ScriptedOwner owner([=](ScriptedOwner& self, const Request& request) {
            const std::string target = self.name(request.target);
            if (target == "TARGETS") {
                self.put(request, list);
            } else {
                self.refuse(request);
            }
        });
        EXPECT_TRUE(snapshot().empty()) << list.type;
    }
}

TEST_F(HostileOwners, thousandsOfTypesAreReadAsFarAsTimeAllows)
{
    std::map<std::string, Typed> data;
    for (int i = 0; i < 3000; ++i) {
        const std::string type = "application/x-" + std::to_string(i);
        data[type] = plain(type, {1});
    }
    data["STRING"] = plain("STRING", bytesOf("kept"));
    const ScriptedOwner owner(offering(data));
    const auto contents = snapshot();
    ASSERT_EQ(contents.size(), 1U);
    EXPECT_EQ(contents[0].at("STRING"), bytesOf("kept"));
    RecordProperty("types", static_cast<int>(contents[0].size()));
}

TEST_F(HostileOwners, aTypeListedAThousandTimesIsAskedForOnce)
{
    const ScriptedOwner owner([](ScriptedOwner& self, const Request& request) {
        if (self.name(request.target) == "TARGETS") {
            self.putTargets(request, std::vector<std::string>(1000, "STRING"));
        } else if (self.name(request.target) == "STRING") {
            self.put(request, plain("STRING", bytesOf("once")));
        } else {
            self.refuse(request);
        }
    });
    EXPECT_EQ(snapshot(), (PasteboardSnapshot{{{"STRING", bytesOf("once")}}}));
    EXPECT_EQ(owner.asked("STRING"), 1);
}

TEST_F(HostileOwners, aLateAnswerDoesNotGetIntoTheNextSnapshot)
{
    std::atomic<bool> late = true;
    std::optional<Request> first;
    const ScriptedOwner owner([&](ScriptedOwner& self, const Request& request) {
        const std::string target = self.name(request.target);
        if (target == "TARGETS") {
            self.putTargets(request, {"STRING"});
        } else if (target != "STRING") {
            self.refuse(request);
        } else if (!first) {
            first = request; // not answered in time
        } else {
            if (late.exchange(false)) {
                self.put(*first, plain("STRING", bytesOf("late")));
            }
            self.put(request, plain("STRING", bytesOf("asked for")));
        }
    });
    EXPECT_TRUE(snapshot().empty());
    EXPECT_EQ(snapshot(), (PasteboardSnapshot{{{"STRING", bytesOf("asked for")}}}));
}

TEST_F(HostileOwners, oneGivenUpCanFinishItsTransfer)
{
    // A simple owner serves nobody else until it is through: giving up must not leave it stuck.
    std::atomic<bool> through = false;
    const ScriptedOwner owner(
        textAnd("image/png", [&](ScriptedOwner& self, const Request& request) {
            self.putIncrementally(request, plain("image/png", noise(3U << 20U)));
            through = true;
        }));
    EXPECT_EQ(snapshot(), (PasteboardSnapshot{{{"STRING", bytesOf("kept")}}}));
    EXPECT_TRUE(eventually([&] { return through.load(); }));
}

TEST_F(HostileOwners, theMainLoopIsNotHeldUpByAHungOwner)
{
    const ScriptedOwner owner([](ScriptedOwner&, const Request&) {});
    const auto reading = pasteboard->snapshot(PasteSource::clipboard);
    ASSERT_TRUE(owner.awaitAsked("TARGETS"));
    pasteboard->setString(PasteSource::clipboard, "dictated");
    ScriptedReader reader;
    EXPECT_EQ(reader.text(), "dictated");
}

/// The limits of the product, once.
TEST_F(PasteboardFixture, withTheRealLimitsAHungOwnerLeavesTheSnapshotEmpty)
{
    const ScriptedOwner owner([](ScriptedOwner&, const Request&) {});
    const auto start = std::chrono::steady_clock::now();
    EXPECT_TRUE(snapshot().empty());
    const std::chrono::duration<double, std::milli> took = std::chrono::steady_clock::now() - start;
    RecordProperty("milliseconds", static_cast<int>(took.count()));
}

TEST_F(PasteboardFixture, withTheRealLimitsFortyMegabytesAreReadAndSeventyAreNot)
{
    const Bytes image = noise(40U << 20U);
    for (const std::size_t size : {std::size_t{40} << 20U, std::size_t{70} << 20U}) {
        const ScriptedOwner owner([&](ScriptedOwner& self, const Request& request) {
            const std::string target = self.name(request.target);
            if (target == "TARGETS") {
                self.putTargets(request, {"image/png", "STRING"});
            } else if (target == "STRING") {
                self.put(request, plain("STRING", bytesOf("kept")));
            } else if (target != "image/png") {
                self.refuse(request);
            } else {
                Typed data = plain(target, image);
                data.bytes.resize(size);
                self.putIncrementally(request, data, 4U << 20U);
            }
        });
        const auto start = std::chrono::steady_clock::now();
        const auto contents = snapshot();
        const std::chrono::duration<double, std::milli> took =
            std::chrono::steady_clock::now() - start;
        RecordProperty("millisecondsFor" + std::to_string(size >> 20U),
                       static_cast<int>(took.count()));
        ASSERT_EQ(contents.size(), 1U);
        EXPECT_EQ(contents[0].at("STRING"), bytesOf("kept"));
        if (size > image.size()) {
            EXPECT_FALSE(contents[0].contains("image/png"));
        } else if (contents[0].contains("image/png")) { // a slow machine may leave it out
            EXPECT_EQ(contents[0].at("image/png"), image);
        }
    }
}

} // namespace vorlin
