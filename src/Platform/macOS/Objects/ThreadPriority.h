#pragma once

#include <pthread.h>
#include <pthread/qos.h>

namespace vorlin {

/// The class of work that a thread does: what a person waits for, or what may wait.
inline void setThreadPriority(qos_class_t work)
{
    pthread_set_qos_class_self_np(work, 0);
}

/// Lets this thread yield the processor to all other work for as long as this lives, or not.
class Yielding {
public:
    explicit Yielding(bool yields)
        : yields(yields), before(yields ? qos_class_self() : QOS_CLASS_UNSPECIFIED)
    {
        if (yields) {
            setThreadPriority(QOS_CLASS_UTILITY);
        }
    }
    Yielding(const Yielding&) = delete;
    Yielding& operator=(const Yielding&) = delete;
    ~Yielding()
    {
        if (yields) {
            // A thread may have no class, which cannot be asked for.
            setThreadPriority(before != QOS_CLASS_UNSPECIFIED ? before : QOS_CLASS_DEFAULT);
        }
    }

private:
    const bool yields;
    const qos_class_t before;
};

} // namespace vorlin
