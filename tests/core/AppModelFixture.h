#pragma once

#include "AppModel.h"
#include "fakes/FakePorts.h"

#include <gtest/gtest.h>

#include <memory>

namespace vorlin {

/// The whole model on a desktop whose recogniser hears "hello world", and a person at its key.
class AppModelFixture : public testing::Test {
protected:
    FakePorts desktop;
    std::unique_ptr<AppModel> model;

    AppModelFixture() { desktop.analyzers.spoken = "hello world"; }

    void start() { model = std::make_unique<AppModel>(desktop.ports()); }
    void press()
    {
        desktop.tap.pressOption();
        desktop.loop.runReady();
    }
    void release()
    {
        desktop.tap.releaseOption();
        desktop.loop.runReady();
    }
};

} // namespace vorlin
