#pragma once

#include <AppKit/AppKit.h>
#include <Foundation/Foundation.h>
