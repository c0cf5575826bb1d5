#include "Platform/Linux/Keys/ActionsOnlyTap.h"

namespace vorlin {

ActionsOnlyTap::ActionsOnlyTap(EventTap& layouts)
    : layouts(layouts),
      layoutsChange(layouts.layoutChanges().observe([this](std::size_t) { noteLayoutChange(); }))
{
}

ActionsOnlyTap::~ActionsOnlyTap()
{
    stop();
}

bool ActionsOnlyTap::start(Handler /*handler*/)
{
    // It follows the layouts while it runs; where it cannot, they are as they were.
    layouts.start([](KeyEventType, const KeyEvent&) { return false; });
    setConflict(KeyConflict::unwatched);
    return true;
}

void ActionsOnlyTap::stop()
{
    layouts.stop();
    setConflict(KeyConflict::none);
}

bool ActionsOnlyTap::typesCharacters(std::uint16_t keyCode)
{
    return layouts.typesCharacters(keyCode);
}

} // namespace vorlin
