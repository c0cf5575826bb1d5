#pragma once

#include <objc/NSObject.h>

#define DISPATCH_EXPORT SURFACE_EXTERN

// Objective-C sees these as objects, and ARC holds them.
#define SURFACE_DISPATCH_OBJECT(name)                                                              \
    @protocol OS_                                                                                  \
    ##name<NSObject> @end                                                                          \
    typedef NSObject<OS_##name>* name##_t

NS_ASSUME_NONNULL_BEGIN

SURFACE_DISPATCH_OBJECT(dispatch_object);
SURFACE_DISPATCH_OBJECT(dispatch_queue);
SURFACE_DISPATCH_OBJECT(dispatch_queue_attr);
SURFACE_DISPATCH_OBJECT(dispatch_group);
SURFACE_DISPATCH_OBJECT(dispatch_semaphore);
SURFACE_DISPATCH_OBJECT(dispatch_source);
typedef dispatch_queue_t dispatch_queue_main_t;
typedef dispatch_queue_t dispatch_queue_global_t;
typedef dispatch_queue_t dispatch_queue_serial_t;

typedef void (^dispatch_block_t)(void);
typedef void (*dispatch_function_t)(void* _Nullable);
typedef uint64_t dispatch_time_t;
typedef long dispatch_once_t;
typedef unsigned int dispatch_qos_class_t;

typedef unsigned int qos_class_t;
enum {
    QOS_CLASS_USER_INTERACTIVE = 0x21,
    QOS_CLASS_USER_INITIATED = 0x19,
    QOS_CLASS_DEFAULT = 0x15,
    QOS_CLASS_UTILITY = 0x11,
    QOS_CLASS_BACKGROUND = 0x09,
    QOS_CLASS_UNSPECIFIED = 0x00,
};

#define NSEC_PER_SEC 1000000000ull
#define NSEC_PER_MSEC 1000000ull
#define USEC_PER_SEC 1000000ull
#define NSEC_PER_USEC 1000ull
#define DISPATCH_TIME_NOW (0ull)
#define DISPATCH_TIME_FOREVER (~0ull)
#define DISPATCH_QUEUE_SERIAL nil
#define DISPATCH_QUEUE_PRIORITY_DEFAULT 0
#define DISPATCH_QUEUE_PRIORITY_HIGH 2
#define DISPATCH_QUEUE_PRIORITY_LOW (-2)

DISPATCH_EXPORT dispatch_queue_main_t dispatch_get_main_queue(void);
DISPATCH_EXPORT dispatch_queue_global_t dispatch_get_global_queue(intptr_t identifier,
                                                                  uintptr_t flags);
DISPATCH_EXPORT dispatch_queue_t dispatch_queue_create(const char* _Nullable label,
                                                       dispatch_queue_attr_t _Nullable attr)
    __attribute__((ns_returns_retained));
DISPATCH_EXPORT dispatch_queue_attr_t dispatch_queue_attr_make_with_qos_class(
    dispatch_queue_attr_t _Nullable attr, dispatch_qos_class_t qos_class, int relative_priority);
DISPATCH_EXPORT dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
DISPATCH_EXPORT void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
DISPATCH_EXPORT void dispatch_async_f(dispatch_queue_t queue, void* _Nullable context,
                                      dispatch_function_t work);
DISPATCH_EXPORT void dispatch_sync(dispatch_queue_t queue, NS_NOESCAPE dispatch_block_t block);
DISPATCH_EXPORT void dispatch_after(dispatch_time_t when, dispatch_queue_t queue,
                                    dispatch_block_t block);
DISPATCH_EXPORT void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue,
                                      void* _Nullable context, dispatch_function_t work);
DISPATCH_EXPORT void dispatch_assert_queue(dispatch_queue_t queue);
DISPATCH_EXPORT void dispatch_once(dispatch_once_t* predicate, NS_NOESCAPE dispatch_block_t block);

DISPATCH_EXPORT dispatch_semaphore_t dispatch_semaphore_create(intptr_t value)
    __attribute__((ns_returns_retained));
DISPATCH_EXPORT intptr_t dispatch_semaphore_wait(dispatch_semaphore_t dsema,
                                                 dispatch_time_t timeout);
DISPATCH_EXPORT intptr_t dispatch_semaphore_signal(dispatch_semaphore_t dsema);

DISPATCH_EXPORT dispatch_group_t dispatch_group_create(void) __attribute__((ns_returns_retained));
DISPATCH_EXPORT void dispatch_group_enter(dispatch_group_t group);
DISPATCH_EXPORT void dispatch_group_leave(dispatch_group_t group);
DISPATCH_EXPORT intptr_t dispatch_group_wait(dispatch_group_t group, dispatch_time_t timeout);
DISPATCH_EXPORT void dispatch_group_notify(dispatch_group_t group, dispatch_queue_t queue,
                                           dispatch_block_t block);

typedef const struct dispatch_source_type_s* dispatch_source_type_t;
DISPATCH_EXPORT const struct dispatch_source_type_s _dispatch_source_type_timer;
DISPATCH_EXPORT const struct dispatch_source_type_s _dispatch_source_type_signal;
#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)
#define DISPATCH_SOURCE_TYPE_SIGNAL (&_dispatch_source_type_signal)
DISPATCH_EXPORT dispatch_source_t dispatch_source_create(dispatch_source_type_t type,
                                                         uintptr_t handle, uintptr_t mask,
                                                         dispatch_queue_t _Nullable queue)
    __attribute__((ns_returns_retained));
DISPATCH_EXPORT void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start,
                                               uint64_t interval, uint64_t leeway);
DISPATCH_EXPORT void dispatch_source_set_event_handler(dispatch_source_t source,
                                                       dispatch_block_t _Nullable handler);
DISPATCH_EXPORT void dispatch_source_set_cancel_handler(dispatch_source_t source,
                                                        dispatch_block_t _Nullable handler);
DISPATCH_EXPORT void dispatch_source_cancel(dispatch_source_t source);
DISPATCH_EXPORT void dispatch_activate(NSObject* object);
DISPATCH_EXPORT void dispatch_resume(NSObject* object);

NS_ASSUME_NONNULL_END
