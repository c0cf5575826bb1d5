#include "Platform/Linux/Speech/UtteranceResults.h"

#include <utility>

namespace vorlin {

UtteranceResults::UtteranceResults(SpeechAnalyzers::OnResult onResult)
    : onResult(std::move(onResult))
{
}

void UtteranceResults::heard(const std::string& words)
{
    if (!words.empty() && words != shown) {
        shown = words;
        onResult(words, false);
    }
}

void UtteranceResults::ended(const std::string& words)
{
    const bool takesBack = words.empty() && !shown.empty();
    shown.clear();
    if (!words.empty() || takesBack) {
        onResult(words, !takesBack);
    }
}

} // namespace vorlin
