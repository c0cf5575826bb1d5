#pragma once

#include "Ports/SpeechAnalyzer.h"

#include <string>

namespace vorlin {

/// Turns what a decoder makes of an utterance into results: volatile ones when the words change, a
/// final one at the end. An utterance that turns out to be no words takes back its volatile ones
/// by an empty volatile result; a final one would become a space in the text.
class UtteranceResults {
public:
    explicit UtteranceResults(SpeechAnalyzers::OnResult onResult);

    /// The utterance's words as they look now.
    void heard(const std::string& words);

    /// The words of the utterance that has ended; the next begins.
    void ended(const std::string& words);

private:
    SpeechAnalyzers::OnResult onResult;
    std::string shown;
};

} // namespace vorlin
