#pragma once

#include <memory>

namespace vorlin {

class AudioConverters;
class AudioInput;
class Defaults;
class EventTap;
class FocusedProgram;
class Folders;
class HTTPClient;
class KeyPoster;
class LocalKeyMonitor;
class Locale;
class LoginItem;
class MLModels;
class MainLoop;
class OverlayPanel;
class Pasteboard;
class Permissions;
class Random;
class Screens;
class Session;
class Sounds;
class SpeechAnalyzers;
class StatusItem;
class Workers;
class WorkingFolders;
class Workspace;
struct Wording;

/// Everything the program asks of its desktop. The adapters outlive whoever is given this; the
/// folders also outlive every thread that still waits in them for a disk.
struct Ports {
    MainLoop& loop;
    AudioInput& audioInput;
    AudioConverters& audioConverters;
    SpeechAnalyzers& speechAnalyzers;
    EventTap& eventTap;
    KeyPoster& keyPoster;
    FocusedProgram& focusedProgram;
    Pasteboard& pasteboard;
    Defaults& defaults;
    /// What the program noticed by itself: a store of its own.
    Defaults& state;
    Permissions& permissions;
    Session& session;
    Sounds& sounds;
    const Locale& locale;
    MLModels& mlModels;
    std::shared_ptr<Folders> folders;
    std::shared_ptr<WorkingFolders> workingFolders;
    HTTPClient& http;
    Random& random;
    Workers& workers;
    Screens& screens;
    OverlayPanel& overlayPanel;
    StatusItem& statusItem;
    LocalKeyMonitor& localKeyMonitor;
    LoginItem& loginItem;
    Workspace& workspace;
    const Wording& wording;
};

} // namespace vorlin
