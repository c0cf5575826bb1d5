#pragma once

// The classes of service of threads and queues.
// unconfirmed: docs.rs/dispatch2/DispatchQoS: "pub struct DispatchQoS(pub c_uint)"
typedef unsigned int qos_class_t;
enum {
    // unconfirmed: docs.rs/dispatch2/DispatchQoS: "Default = 0x15"
    QOS_CLASS_DEFAULT = 0x15,
    // unconfirmed: docs.rs/dispatch2/DispatchQoS: "Utility = 0x11"
    QOS_CLASS_UTILITY = 0x11,
};
