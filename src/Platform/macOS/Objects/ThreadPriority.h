#pragma once

#include <pthread.h>
#include <pthread/qos.h>

namespace vorlin {

/// Lets the thread that calls yield the processor to what a person waits for.
inline void lowerThreadPriority()
{
    pthread_set_qos_class_self_np(QOS_CLASS_UTILITY, 0);
}

/// Takes it back.
inline void restoreThreadPriority()
{
    pthread_set_qos_class_self_np(QOS_CLASS_DEFAULT, 0);
}

} // namespace vorlin
