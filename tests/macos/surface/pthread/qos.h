#pragma once

#include <objc/NSObjCRuntime.h>
#include <sys/qos.h>

// docs.rs/libc: "pub unsafe extern "C" fn pthread_set_qos_class_self_np(class: qos_class_t,
// priority: c_int) -> c_int"
SURFACE_EXTERN int pthread_set_qos_class_self_np(qos_class_t qos_class, int relative_priority);
