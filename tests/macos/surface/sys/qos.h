#pragma once

// The classes of service of threads and queues.
// unconfirmed: docs.rs/dispatch2/DispatchQoS: "pub struct DispatchQoS(pub c_uint)"
typedef unsigned int qos_class_t;
enum {
    // unconfirmed: docs.rs/dispatch2/DispatchQoS: "UserInteractive = 0x21"
    QOS_CLASS_USER_INTERACTIVE = 0x21,
    // unconfirmed: docs.rs/dispatch2/DispatchQoS: "UserInitiated = 0x19"
    QOS_CLASS_USER_INITIATED = 0x19,
    // unconfirmed: docs.rs/dispatch2/DispatchQoS: "Default = 0x15"
    QOS_CLASS_DEFAULT = 0x15,
    // unconfirmed: docs.rs/dispatch2/DispatchQoS: "Utility = 0x11"
    QOS_CLASS_UTILITY = 0x11,
    // unconfirmed: docs.rs/dispatch2/DispatchQoS: "Background = 0x09"
    QOS_CLASS_BACKGROUND = 0x09,
    // unconfirmed: docs.rs/dispatch2/DispatchQoS: "Unspecified = 0x00"
    QOS_CLASS_UNSPECIFIED = 0x00,
};
