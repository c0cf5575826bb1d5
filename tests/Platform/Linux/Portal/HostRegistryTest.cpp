#include "Platform/Linux/Portal/HostRegistry.h"

#include "Platform/Linux/Portal/PlayedPortal.h"
#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <filesystem>
#include <fstream>
#include <memory>
#include <system_error>

namespace vorlin {
namespace {

class HostRegistryTest : public testing::Test {
protected:
    void introduce(HostRegistry::Nameless nameless = HostRegistry::Nameless::served)
    {
        introduce(ours.bus, nameless);
    }
    void introduce(const QDBusConnection& on,
                   HostRegistry::Nameless nameless = HostRegistry::Nameless::served)
    {
        registry = std::make_unique<HostRegistry>(on, "org.example.App", nameless);
        QObject::connect(registry.get(), &HostRegistry::ready, registry.get(),
                         [this] { ++readies; });
        QObject::connect(registry.get(), &HostRegistry::absent, registry.get(),
                         [this] { ++absences; });
        QObject::connect(registry.get(), &HostRegistry::gone, registry.get(), [this] { ++ends; });
    }

    PlayedBus bus;
    PlayedProgram ours{bus, "ours"};
    std::unique_ptr<PlayedPortal> portal = std::make_unique<PlayedPortal>(bus);
    std::unique_ptr<HostRegistry> registry;
    int readies = 0;
    int ends = 0;
    int absences = 0;
};

TEST_F(HostRegistryTest, tellsThePortalsWhoAsks)
{
    introduce();
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    EXPECT_EQ(portal->calls.front(), "Register org.example.App");
    EXPECT_EQ(registry->portal(), portal->program.bus.baseService());
    EXPECT_TRUE(registry->mayAsk());
}

TEST_F(HostRegistryTest, portalsWithoutARegistryServeAllTheSame)
{
    portal->hasRegistry = false;
    introduce();
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    EXPECT_EQ(registry->portal(), portal->program.bus.baseService());
    EXPECT_TRUE(registry->mayAsk());
}

TEST_F(HostRegistryTest, portalsWithoutARegistryDoNotServeASecondName)
{
    portal->hasRegistry = false;
    introduce(HostRegistry::Nameless::refused);
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    EXPECT_FALSE(registry->mayAsk());
}

TEST_F(HostRegistryTest, portalsThatRefuseTheNameAreNotAskedUnderAnother)
{
    portal->refusedName = "org.example.App";
    introduce();
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    EXPECT_FALSE(registry->mayAsk());
}

TEST_F(HostRegistryTest, portalsThatComeLaterAreTold)
{
    portal.reset();
    introduce();
    PlayedProgram::roundTrip(ours.bus);
    QCoreApplication::sendPostedEvents();
    EXPECT_EQ(registry->portal(), "");
    portal = std::make_unique<PlayedPortal>(bus);
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    EXPECT_EQ(portal->calls.front(), "Register org.example.App");
}

TEST_F(HostRegistryTest, portalsThatRestartAreToldAnew)
{
    introduce();
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    portal.reset();
    ASSERT_TRUE(runUntil([&] { return ends == 1; }));
    EXPECT_EQ(registry->portal(), "");
    portal = std::make_unique<PlayedPortal>(bus);
    ASSERT_TRUE(runUntil([&] { return readies == 2; }));
    EXPECT_EQ(portal->calls.front(), "Register org.example.App");
    EXPECT_EQ(ends, 1);
}

TEST_F(HostRegistryTest, onlyTheBusTellsWhoOwnsAName)
{
    introduce();
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    PlayedProgram stranger(bus, "stranger");
    stranger.emitSignal("/org/freedesktop/DBus", "org.freedesktop.DBus", "NameOwnerChanged",
                        {"org.freedesktop.portal.Desktop", registry->portal(), ""});
    portal->takeIn(ours.bus);
    EXPECT_EQ(ends, 0);
    EXPECT_EQ(registry->portal(), portal->program.bus.baseService());
}

TEST_F(HostRegistryTest, portalsThatEndAreStartedAgain)
{
    introduce();
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    const auto started = bus.folder / "started";
    bus.starts("org.freedesktop.portal.Desktop", "/usr/bin/touch " + started.string());
    portal.reset();
    ASSERT_TRUE(runUntil([&] { return ends == 1; }));
    EXPECT_TRUE(runUntil([&] { return std::filesystem::exists(started); }));
}

TEST_F(HostRegistryTest, portalsThatDieWhileTheyAreToldAreStartedAgainAndToldAnew)
{
    portal->holdsReplies = true;
    introduce();
    ASSERT_TRUE(runUntil([&] { return portal->count("Register") == 1; }));
    portal->takeIn(ours.bus);
    const auto started = bus.folder / "started";
    bus.starts("org.freedesktop.portal.Desktop", "/usr/bin/touch " + started.string());
    portal.reset();
    ASSERT_TRUE(runUntil([&] { return std::filesystem::exists(started); }));
    portal = std::make_unique<PlayedPortal>(bus);
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    EXPECT_EQ(portal->count("Register org.example.App"), 1);
}

TEST_F(HostRegistryTest, portalsThatDoNotStartAreTriedAgain)
{
    portal.reset();
    const auto count = bus.folder / "starts";
    const auto program = bus.folder / "fails";
    std::ofstream(program) << "#!/bin/sh\necho >> " << count.string() << "\nexit 1\n";
    std::filesystem::permissions(program, std::filesystem::perms::owner_all);
    bus.starts("org.freedesktop.portal.Desktop", program.string());
    introduce();
    ASSERT_TRUE(runUntil([&] { return absences == 1; }));
    EXPECT_TRUE(registry->isAbsent());
    EXPECT_TRUE(runUntil([&] {
        std::error_code none;
        return std::filesystem::file_size(count, none) >= 2 && !none;
    }));
    EXPECT_EQ(absences, 1);
}

TEST_F(HostRegistryTest, aSessionWithoutPortalsIsToldUntilThereAreSome)
{
    portal.reset();
    introduce();
    ASSERT_TRUE(runUntil([&] { return absences == 1; }));
    portal = std::make_unique<PlayedPortal>(bus);
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    EXPECT_FALSE(registry->isAbsent());
}

TEST_F(HostRegistryTest, aSessionWithoutABusHasNoPortals)
{
    const QString name = "no bus";
    introduce(QDBusConnection::connectToBus("unix:path=/nowhere", name));
    EXPECT_TRUE(runUntil([&] { return absences == 1; }));
    EXPECT_TRUE(registry->isAbsent());
    registry.reset();
    QDBusConnection::disconnectFromBus(name);
}

TEST_F(HostRegistryTest, portalsThatTakeTheNameWhileOthersAreToldAreToldThemselves)
{
    portal->holdsReplies = true;
    introduce();
    ASSERT_TRUE(runUntil([&] { return portal->count("Register") == 1; }));
    const PlayedPortal next(bus, "next portal");
    portal->reply();
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    EXPECT_EQ(next.count("Register org.example.App"), 1);
    EXPECT_EQ(registry->portal(), next.program.bus.baseService());
}

} // namespace
} // namespace vorlin
