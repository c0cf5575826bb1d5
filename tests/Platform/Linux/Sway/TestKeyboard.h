#pragma once

#include <cstdint>
#include <memory>
#include <string>

namespace vorlin {

/// A keyboard of the person's, plugged into a private sway: a virtual one of its own, whose keys
/// trigger bindings as any other's do. Every call waits until sway has seen it.
class TestKeyboard {
public:
    /// `display` is the path of the compositor's socket; `layout` as setxkbmap has it.
    explicit TestKeyboard(const std::string& display, const std::string& layout = "us");
    TestKeyboard(const TestKeyboard&) = delete;
    TestKeyboard& operator=(const TestKeyboard&) = delete;
    /// Unplugs it.
    ~TestKeyboard();

    /// The kernel's number of a key. Modifiers are what the layout makes of the keys.
    void press(unsigned key);
    void release(unsigned key);
    void tap(unsigned key);

private:
    struct State;

    void send(unsigned key, bool down);

    std::unique_ptr<State> state;
};

} // namespace vorlin
