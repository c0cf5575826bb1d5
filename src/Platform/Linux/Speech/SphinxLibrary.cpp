#include "Platform/Linux/Speech/SphinxLibrary.h"

namespace vorlin {

const SphinxLibrary& sphinx()
{
    static const SphinxLibrary loaded;
    return loaded;
}

} // namespace vorlin
