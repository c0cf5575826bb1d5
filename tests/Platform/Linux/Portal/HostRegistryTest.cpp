#include "Platform/Linux/Portal/HostRegistry.h"

#include "Platform/Linux/Portal/PlayedPortal.h"
#include "Platform/RunUntil.h"

#include <gtest/gtest.h>

#include <memory>

namespace vorlin {
namespace {

class HostRegistryTest : public testing::Test {
protected:
    void introduce()
    {
        registry = std::make_unique<HostRegistry>(ours.bus, "org.example.App");
        QObject::connect(registry.get(), &HostRegistry::ready, registry.get(),
                         [this] { ++readies; });
        QObject::connect(registry.get(), &HostRegistry::gone, registry.get(), [this] { ++ends; });
    }

    PlayedBus bus;
    PlayedProgram ours{bus, "ours"};
    std::unique_ptr<PlayedPortal> portal = std::make_unique<PlayedPortal>(bus);
    std::unique_ptr<HostRegistry> registry;
    int readies = 0;
    int ends = 0;
};

TEST_F(HostRegistryTest, tellsThePortalsWhoAsks)
{
    introduce();
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    EXPECT_EQ(portal->calls.front(), "Register org.example.App");
    EXPECT_EQ(registry->portal(), portal->program.bus.baseService());
}

TEST_F(HostRegistryTest, portalsWithoutARegistryServeAllTheSame)
{
    portal->hasRegistry = false;
    introduce();
    ASSERT_TRUE(runUntil([&] { return readies == 1; }));
    EXPECT_EQ(registry->portal(), portal->program.bus.baseService());
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

} // namespace
} // namespace vorlin
