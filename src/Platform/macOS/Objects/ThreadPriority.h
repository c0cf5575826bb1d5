#pragma once

#include <pthread.h>
#include <pthread/qos.h>

namespace vorlin {

/// The class of work that a thread does: what a person waits for, or what may wait.
inline void setThreadPriority(qos_class_t work)
{
    pthread_set_qos_class_self_np(work, 0);
}

} // namespace vorlin
