#include "Platform/macOS/Plain/MainLoopDoor.h"

#include <utility>

namespace vorlin {

void MainLoopDoor::post(Work work)
{
    const std::scoped_lock guard(lock);
    if (loop != nullptr) {
        loop->post([self = shared_from_this(), work = std::move(work)] {
            if (self->isOpen()) {
                work();
            }
        });
    }
}

void MainLoopDoor::close()
{
    const std::scoped_lock guard(lock);
    loop = nullptr;
}

bool MainLoopDoor::isOpen()
{
    const std::scoped_lock guard(lock);
    return loop != nullptr;
}

} // namespace vorlin
