#pragma once

#include "Transcriber.h"

#include <filesystem>
#include <memory>
#include <string>

namespace vorlin {

/// The engines behind the catalog's entries. Main loop; every call returns at once.
class SpeechEngines {
public:
    virtual ~SpeechEngines() = default;

    /// An engine for one dictation with the model in `folder`.
    virtual std::shared_ptr<Transcriber> local(const std::filesystem::path& folder) = 0;

    /// An engine for one dictation with the platform's recogniser in the language `locale`.
    virtual std::shared_ptr<Transcriber> platform(const std::string& locale) = 0;

    /// Loads the model in `folder` ahead of its first use, yielding the processor to all other
    /// work until a dictation waits for it; ignores failures.
    virtual void warm(const std::filesystem::path& folder) = 0;

    /// Drops whatever model is loaded once nothing uses it.
    virtual void unload() = 0;
};

} // namespace vorlin
