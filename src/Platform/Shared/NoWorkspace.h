#pragma once

#include "Ports/Workspace.h"

namespace vorlin {

/// "Not available here": the port on a desktop without other programs.
class NoWorkspace final : public Workspace {
public:
    Completion<Done> open(const std::filesystem::path& /*folder*/) override { return refuse(); }
    Completion<Done> reveal(const std::filesystem::path& /*item*/) override { return refuse(); }
    Completion<Done> openLink(const std::string& /*address*/) override { return refuse(); }
    bool hasPanel(SystemPanel /*panel*/) const override { return false; }
    Completion<Done> openPanel(SystemPanel /*panel*/) override { return refuse(); }
    Completion<std::optional<std::filesystem::path>>
    chooseFolder(const std::string& /*title*/) override
    {
        return refuse<std::optional<std::filesystem::path>>();
    }
    void bringToFront(std::uintptr_t /*window*/) override {}

private:
    template <class T = Done>
    static Completion<T> refuse()
    {
        Completion<T> result;
        result.completer().failWith("This desktop has no program for it.");
        return result;
    }
};

} // namespace vorlin
