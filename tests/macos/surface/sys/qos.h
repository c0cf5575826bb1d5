#pragma once

#include <objc/NSObjCRuntime.h>

// The classes of service of threads and queues.
// unconfirmed: docs.rs/dispatch2/DispatchQoS: "pub struct DispatchQoS(pub c_uint)"
typedef unsigned int qos_class_t;
enum {
    // unconfirmed: docs.rs/dispatch2/DispatchQoS: "Default = 0x15"
    QOS_CLASS_DEFAULT = 0x15,
    // unconfirmed: docs.rs/dispatch2/DispatchQoS: "Utility = 0x11"
    QOS_CLASS_UTILITY = 0x11,
};

// pub.dev/documentation/native_log_plus/NativeLog/qos_class_self: "Returns the requested QOS class
// of the current thread."
SURFACE_EXTERN qos_class_t qos_class_self(void);
