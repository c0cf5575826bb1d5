#include "App/Shared/BuildFacts.h"

namespace vorlin {

BuildFacts buildFacts()
{
    return {VORLIN_VERSION, VORLIN_MAKER, VORLIN_MAKER_LINK};
}

} // namespace vorlin
