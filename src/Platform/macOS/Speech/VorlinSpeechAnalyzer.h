#pragma once

/// The platform's analyser of speech, which speaks Swift only, for C. Every function returns at
/// once and may be called on any thread, save that those of one analysis are called one at a time.
/// Texts are UTF-8 and stand until the call that they are given to returns. Where the system is
/// older than the analyser there is no language that it supports.

#include <stdbool.h>
#include <stdint.h>

#ifdef __cplusplus
extern "C" {
#endif

/// Called exactly once, on a thread of the analyser's: with what was asked for, which may be
/// nothing, or with one line on why there is no answer.
typedef void (*VorlinSpeechAnswer)(void* context, const char* text, const char* failure);

/// The same for a format. A sample rate of 0: there is none. `commonFormat` is the number of the
/// audio frameworks.
typedef void (*VorlinSpeechFormat)(void* context, double sampleRate, uint32_t channels,
                                   uint32_t commonFormat, bool interleaved);

/// One result, on a thread of the analyser's, one call at a time.
typedef void (*VorlinSpeechResult)(void* context, const char* text, bool isFinal);

/// There will be no result any more.
typedef void (*VorlinSpeechEnded)(void* context);

/// The analyser's own locale for a locale identifier such as "en-GB", or nothing.
void vorlinSpeechSupportedLocale(const char* identifier, void* context, VorlinSpeechAnswer answer);

/// Makes what the analysis of a supported locale needs available; answers no text.
void vorlinSpeechInstallAssets(const char* locale, void* context, VorlinSpeechAnswer answer);

/// The format in which the analysis of a supported locale wants its input.
void vorlinSpeechBestFormat(const char* locale, void* context, VorlinSpeechFormat answer);

/// Starts an analysis; input queues until it is ready. NULL where there is no analyser: then
/// nothing is called. Else `ended` is called once, also after the analysis was released.
void* vorlinSpeechStart(const char* locale, void* context, VorlinSpeechResult result,
                        VorlinSpeechEnded ended);

/// Answers no text once the analysis has begun, or why it could not.
void vorlinSpeechStarted(void* analysis, void* context, VorlinSpeechAnswer answer);

/// The next audio: `planes` are one a channel, or one for all where the format is interleaved.
void vorlinSpeechInput(void* analysis, const void* const* planes, uint32_t frames,
                       double sampleRate, uint32_t channels, uint32_t commonFormat,
                       bool interleaved);

/// Ends the input, and answers no text once every result was delivered.
void vorlinSpeechFinish(void* analysis, void* context, VorlinSpeechAnswer answer);

/// Ends the analysis without further results, also one that has failed; one that comes at this
/// moment may still be told.
void vorlinSpeechCancel(void* analysis);

/// Lets go of it. The last call.
void vorlinSpeechRelease(void* analysis);

#ifdef __cplusplus
}
#endif
