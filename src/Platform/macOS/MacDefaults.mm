#include "Platform/macOS/MacDefaults.h"

#include "Platform/macOS/Objects/Data.h"
#include "Platform/macOS/Objects/Ref.h"
#include "Platform/macOS/Objects/Text.h"

#include <CoreFoundation/CoreFoundation.h>
#include <Foundation/Foundation.h>

#include <utility>

namespace vorlin {

namespace {

/// What is left in a store that is made: that it was.
NSString* const startedBefore = @"startedBefore";

/// A boolean is a number, too, but one of a type of its own.
bool isBoolean(id object)
{
    return CFGetTypeID(cfObject(object)) == CFBooleanGetTypeID();
}

void setObject(NSUserDefaults* defaults, NSString* key, const DefaultsValue& value)
{
    if (const auto* flag = std::get_if<bool>(&value)) {
        [defaults setBool:*flag forKey:key];
    } else if (const auto* number = std::get_if<double>(&value)) {
        [defaults setDouble:*number forKey:key];
    } else if (const auto* text = std::get_if<std::string>(&value)) {
        [defaults setObject:nsText(*text) forKey:key];
    } else if (const auto* bytes = std::get_if<Bytes>(&value)) {
        [defaults setObject:nsData(*bytes) forKey:key];
    }
}

} // namespace

struct MacDefaults::Store {
    Ref<NSUserDefaults> defaults;
    Ref<NSString> suite; // nil: the program's own
};

MacDefaults::MacDefaults()
    : store(std::make_unique<Store>(
          Store{Ref<NSUserDefaults>([NSUserDefaults standardUserDefaults]), {}}))
{
}

MacDefaults::MacDefaults(const std::string& suite)
    : store(std::make_unique<Store>(Store{Ref<NSUserDefaults>(autoreleased([[NSUserDefaults alloc]
                                              initWithSuiteName:nsText(suite)])),
                                          Ref<NSString>(nsText(suite))}))
{
}

MacDefaults::~MacDefaults()
{
    // The system takes changes over a little later, and the process may end at once, with neither
    // AppKit's end nor the C library's.
    CFPreferencesAppSynchronize(store->suite
                                    ? static_cast<CFStringRef>(cfObject(store->suite.get()))
                                    : kCFPreferencesCurrentApplication);
}

bool MacDefaults::create()
{
    NSUserDefaults* const defaults = store->defaults.get();
    if ([defaults objectForKey:startedBefore] != nil) {
        return false;
    }
    [defaults setBool:YES forKey:startedBefore];
    return true;
}

std::optional<DefaultsValue> MacDefaults::value(const std::string& key) const
{
    const id object = [store->defaults.get() objectForKey:nsText(key)];
    if (object == nil) {
        return std::nullopt;
    }
    if (isBoolean(object)) {
        return [static_cast<NSNumber*>(object) boolValue] != NO;
    }
    if ([object isKindOfClass:[NSNumber class]]) {
        return [static_cast<NSNumber*>(object) doubleValue];
    }
    if ([object isKindOfClass:[NSString class]]) {
        return textOf(static_cast<NSString*>(object));
    }
    if ([object isKindOfClass:[NSData class]]) {
        return bytesOf(static_cast<NSData*>(object));
    }
    return std::nullopt;
}

void MacDefaults::set(const std::string& key, std::optional<DefaultsValue> value)
{
    const bool changes = this->value(key) != value;
    if (value) {
        setObject(store->defaults.get(), nsText(key), *value);
    } else {
        [store->defaults.get() removeObjectForKey:nsText(key)];
    }
    if (!changes) {
        return;
    }
    const auto current = observers; // an observer may add others
    for (const auto& weak : current) {
        Observe call; // a copy: it may end itself meanwhile
        if (const auto observer = weak.lock()) {
            call = *observer;
        }
        if (call) {
            call(key);
        }
    }
}

std::shared_ptr<const void> MacDefaults::observe(std::function<void(const std::string&)> observer)
{
    auto entry = std::make_shared<const Observe>(std::move(observer));
    std::erase_if(observers, [](const auto& each) { return each.expired(); });
    observers.push_back(entry);
    return entry;
}

} // namespace vorlin
