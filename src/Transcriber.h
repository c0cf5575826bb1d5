#pragma once

#include "Async/Task.h"
#include "Audio/PCMBuffer.h"

#include <functional>
#include <memory>
#include <mutex>
#include <optional>
#include <string>

namespace vorlin {

/// A speech engine at work on one dictation.
///
/// The session sets `onText`, awaits `prepare()`, feeds audio, and ends with either `finish()` or
/// `cancel()`, each called at most once. All on the main loop, except `feed`.
class Transcriber {
public:
    /// Receives the whole text so far, never a fragment. Called from any thread.
    using OnText = std::function<void(const std::string&)>;

    virtual ~Transcriber() = default;

    /// Sets who receives the running text. Once, before `prepare()`.
    virtual void setOnText(OnText onText) = 0;

    /// What went wrong without stopping the engine from returning text, as one line; nothing when
    /// all went well. Settled when `finish()` is done.
    virtual std::optional<std::string> failure() const = 0;

    /// Gets ready for audio. Fails with an exception whose text the person is shown.
    virtual Task<void> prepare() = 0;

    /// Takes the next captured buffer, in the microphone's own format. Called on the capture
    /// thread, in capture order; must not block. May run while `cancel()` is called.
    virtual void feed(const PCMBuffer& buffer) = 0;

    /// The final text of the whole dictation, trimmed. Called after capture has stopped; never
    /// fails. The transcriber outlives the task.
    virtual Task<std::string> finish() = 0;

    /// Abandons the work: no text is produced afterwards.
    virtual void cancel() = 0;
};

/// `text` without white space and line breaks (Unicode's separators and the control characters
/// that break lines) at both ends. UTF-8.
std::string trimmed(const std::string& text);

/// `text` without spaces and tabs at both ends; line breaks stay. UTF-8.
std::string trimmedSpaces(const std::string& text);

/// Turns alternating provisional and final results of a recogniser into one running text.
/// Any thread.
class TextAccumulator {
public:
    /// Adds a result: a final one is kept, followed by one space; a provisional one replaces the
    /// provisional text so far. Returns the combined text.
    std::string add(const std::string& text, bool isFinal);

    /// The combined text, trimmed.
    std::string finished() const;

private:
    mutable std::mutex lock;
    std::string finalText;
    std::string volatileText;
};

} // namespace vorlin
