// The class of work that a thread does.

#include "Recorder.h"

#include <pthread/qos.h>

#include <cerrno>
#include <string>

namespace {

thread_local qos_class_t current = QOS_CLASS_UNSPECIFIED;

} // namespace

// A thread that once has a class cannot be without one again.
int pthread_set_qos_class_self_np(qos_class_t work, int relative)
{
    standins::note("pthread_set_qos_class_self_np " + std::to_string(work) + " " +
                   std::to_string(relative));
    if (work == QOS_CLASS_UNSPECIFIED)
        return EINVAL;
    current = work;
    return 0;
}

qos_class_t qos_class_self(void)
{
    return current;
}
