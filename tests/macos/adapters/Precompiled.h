#pragma once

#include "Recorder.h"
#include "simulation/SimulatedLoop.h"

#include <AppKit/AppKit.h>
#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/Foundation.h>
#include <QuartzCore/QuartzCore.h>

#include <gtest/gtest.h>

#include <chrono>
#include <functional>
#include <memory>
#include <optional>
#include <stdexcept>
#include <string>
#include <thread>
#include <utility>
#include <vector>

#include "NSView.h"

// This machine's system is none of Apple's, so it passes for newer than all of them. Here tests say
// how new it is.
#define available(...) "" != nil&& standins::isNewSystem()
