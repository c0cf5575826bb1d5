// The class of work that a thread does.

#include "Recorder.h"

#include <pthread/qos.h>

#include <string>

namespace {

thread_local qos_class_t current = QOS_CLASS_DEFAULT;

} // namespace

int pthread_set_qos_class_self_np(qos_class_t work, int relative)
{
    standins::note("pthread_set_qos_class_self_np " + std::to_string(work) + " " +
                   std::to_string(relative));
    current = work;
    return 0;
}

qos_class_t qos_class_self(void)
{
    return current;
}
