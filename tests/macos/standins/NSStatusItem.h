#pragma once

#import <AppKit/AppKit.h>

#include <vector>

namespace standins {

/// What stands in the menu bar.
std::vector<NSStatusItem*> statusItems();

std::vector<NSMenuItem*> itemsOf(NSMenu* menu);

/// A person chooses an item; one that is disabled cannot be.
void choose(NSMenuItem* item);

} // namespace standins
