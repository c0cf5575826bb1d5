#include "Platform/macOS/Plain/StatusSymbols.h"

namespace vorlin {

const char* systemSymbol(StatusSymbol symbol)
{
    return symbol == StatusSymbol::idle ? "waveform" : "waveform.circle.fill";
}

} // namespace vorlin
