#pragma once

#include <objc/NSObjCRuntime.h>

// The classes of service of threads and queues: a type of its own, which no number becomes.
// sys/qos.h of libpthread: "__QOS_ENUM(name, type, ...) typedef enum : type"
typedef enum : unsigned int {
    // docs.rs/dispatch2/DispatchQoS: "Default = 0x15"
    QOS_CLASS_DEFAULT = 0x15,
    // docs.rs/dispatch2/DispatchQoS: "Utility = 0x11"
    QOS_CLASS_UTILITY = 0x11,
    // learn.microsoft.com/dotnet/api/corefoundation.dispatchqualityofservice: "Unspecified | 0"
    QOS_CLASS_UNSPECIFIED = 0x00,
} qos_class_t;

// pub.dev/documentation/native_log_plus/NativeLog/qos_class_self: "Returns the requested QOS class
// of the current thread."
SURFACE_EXTERN qos_class_t qos_class_self(void);
