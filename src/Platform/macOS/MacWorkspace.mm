#include "Platform/macOS/MacWorkspace.h"

#include "Platform/macOS/Objects/Ref.h"
#include "Platform/macOS/Objects/Text.h"
#include "Platform/macOS/Plain/PrivacyPanes.h"

#include <AppKit/AppKit.h>

#include <utility>

namespace vorlin {

namespace {

using Folder = std::optional<std::filesystem::path>;

Completion<Done> opened(NSURL* address)
{
    Completion<Done> result;
    if (address != nil && [[NSWorkspace sharedWorkspace] openURL:address]) {
        result.completer().complete({});
    } else {
        result.completer().failWith("Nothing here opens it.");
    }
    return result;
}

} // namespace

struct MacWorkspace::Dialog {
    Ref<NSOpenPanel> panel;
    Completer<Folder> completer;
    Timer begin;

    Folder run() const
    {
        [panel.get() setCanChooseDirectories:YES];
        [panel.get() setCanChooseFiles:NO];
        return [panel.get() runModal] == NSModalResponseOK ? Folder(textOf(panel.get().URL.path))
                                                           : std::nullopt;
    }
};

MacWorkspace::MacWorkspace(MainLoop& loop) : loop(loop) {}

MacWorkspace::~MacWorkspace() = default;

Completion<Done> MacWorkspace::open(const std::filesystem::path& folder)
{
    return opened(fileURL(folder));
}

Completion<Done> MacWorkspace::reveal(const std::filesystem::path& item)
{
    Completion<Done> result;
    if (NSURL* const address = fileURL(item)) {
        [[NSWorkspace sharedWorkspace]
            activateFileViewerSelectingURLs:[NSArray arrayWithObject:address]];
        result.completer().complete({});
    } else {
        result.completer().failWith("Nothing here shows it.");
    }
    return result;
}

Completion<Done> MacWorkspace::openLink(const std::string& address)
{
    return opened([NSURL URLWithString:nsText(address)]);
}

bool MacWorkspace::hasPanel(SystemPanel /*panel*/) const
{
    return true;
}

Completion<Done> MacWorkspace::openPanel(SystemPanel panel)
{
    return opened([NSURL URLWithString:nsText(privacyPane(panel))]);
}

Completion<Folder> MacWorkspace::chooseFolder(const std::string& title, const std::string& prompt)
{
    cancelChoice();
    Completion<Folder> chosen;
    NSOpenPanel* const panel = [NSOpenPanel openPanel];
    [panel setMessage:nsText(title)];
    [panel setPrompt:nsText(prompt)];
    dialog = std::make_unique<Dialog>(Dialog{Ref(panel), chosen.completer(), {}});
    dialog->begin = loop.startTimer(Duration::zero(), [this] {
        const Dialog running = *dialog; // another one may take its place
        running.completer.complete(running.run());
        if (dialog && dialog->panel.get() == running.panel.get()) {
            dialog.reset();
        }
    });
    return chosen;
}

void MacWorkspace::cancelChoice()
{
    if (const auto open = std::exchange(dialog, nullptr)) {
        [open->panel.get() cancel:nil];
        open->completer.complete(std::nullopt);
    }
}

void MacWorkspace::bringToFront(std::uintptr_t /*window*/)
{
    // One that was just closed may still be among them.
    NSWindow* settings = nil;
    for (NSWindow* window in [NSApp windows]) {
        if ([window.identifier containsString:@"Settings"] &&
            (settings == nil || (!settings.isVisible && window.isVisible))) {
            settings = window;
        }
    }
    if (settings != nil) {
        [settings setCollectionBehavior:settings.collectionBehavior |
                                        NSWindowCollectionBehaviorMoveToActiveSpace];
        [settings makeKeyAndOrderFront:nil];
        [settings orderFrontRegardless];
    }
}

} // namespace vorlin
