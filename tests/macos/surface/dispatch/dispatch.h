#pragma once

#include <objc/NSObject.h>
#include <sys/qos.h>

#define DISPATCH_EXPORT SURFACE_EXTERN

// Objective-C sees these as objects, and ARC holds them.
#define SURFACE_DISPATCH_OBJECT(name)                                                              \
    @protocol OS_                                                                                  \
    ##name<NSObject> @end                                                                          \
    typedef NSObject<OS_##name>* name##_t

NS_ASSUME_NONNULL_BEGIN

// unconfirmed: dispatch/dispatch_object_t: "A dispatch object."
SURFACE_DISPATCH_OBJECT(dispatch_object);
// unconfirmed: dispatch/dispatch_queue_t: "A lightweight object to which your application submits
// blocks for subsequent execution."
SURFACE_DISPATCH_OBJECT(dispatch_queue);
// unconfirmed: dispatch/dispatch_queue_attr_t: "Attributes describing the behaviors of a dispatch
// queue."
SURFACE_DISPATCH_OBJECT(dispatch_queue_attr);
// unconfirmed: dispatch/dispatch_group_t: "A group of block objects submitted to a queue for
// asynchronous invocation."
SURFACE_DISPATCH_OBJECT(dispatch_group);
// unconfirmed: dispatch/dispatch_semaphore_t: "A dispatch semaphore object."
SURFACE_DISPATCH_OBJECT(dispatch_semaphore);
// unconfirmed: dispatch/dispatch_source_t: "An object that coordinates the processing of specific
// low-level system events, such as file-system events, timers, and UNIX signals."
SURFACE_DISPATCH_OBJECT(dispatch_source);
// unconfirmed: dispatch/dispatch_queue_main_t: "A dispatch queue that is bound to the app’s main
// thread and executes tasks serially on that thread."
typedef dispatch_queue_t dispatch_queue_main_t;
// unconfirmed: dispatch/dispatch_queue_global_t: "A dispatch queue that executes tasks
// concurrently using threads from the global thread pool."
typedef dispatch_queue_t dispatch_queue_global_t;
// unconfirmed: dispatch/dispatch_queue_serial_t: "A dispatch queue that executes tasks serially in
// first-in, first-out (FIFO) order."
typedef dispatch_queue_t dispatch_queue_serial_t;

// unconfirmed: dispatch/dispatch_block_t: "The prototype of blocks submitted to dispatch queues,
// which take no arguments and have no return value."
typedef void (^dispatch_block_t)(void);
// unconfirmed: dispatch/dispatch_function_t: "The prototype of functions submitted to dispatch
// queues."
typedef void (*dispatch_function_t)(void* _Nullable);
// unconfirmed: dispatch/dispatch_time_t: "An abstract representation of time."
typedef uint64_t dispatch_time_t;
// unconfirmed: dispatch/dispatch_once_t: "A predicate for use with the dispatch_once function."
typedef long dispatch_once_t;
// unconfirmed: dispatch/dispatch_qos_class_t: "Quality-of-service classes that specify the
// priorities for executing tasks."
typedef unsigned int dispatch_qos_class_t;

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

// dispatch/dispatch_get_main_queue: "Returns the serial dispatch queue associated with the
// application’s main thread."
DISPATCH_EXPORT dispatch_queue_main_t dispatch_get_main_queue(void);
// dispatch/dispatch_get_global_queue: "Returns a system-defined global concurrent queue with the
// specified quality-of-service class."
DISPATCH_EXPORT dispatch_queue_global_t dispatch_get_global_queue(intptr_t identifier,
                                                                  uintptr_t flags);
// dispatch/1453030-dispatch_queue_create: "Creates a new dispatch queue to which you can submit
// blocks."
DISPATCH_EXPORT dispatch_queue_t dispatch_queue_create(const char* _Nullable label,
                                                       dispatch_queue_attr_t _Nullable attr)
    __attribute__((ns_returns_retained));
// dispatch/dispatch_queue_attr_make_with_qos_class: "Returns attributes suitable for creating a
// dispatch queue with the desired quality-of-service information."
DISPATCH_EXPORT dispatch_queue_attr_t dispatch_queue_attr_make_with_qos_class(
    dispatch_queue_attr_t _Nullable attr, dispatch_qos_class_t qos_class, int relative_priority);
// dispatch/dispatch_time: "Creates a dispatch_time_t relative to the default clock or modifies an
// existing dispatch_time_t."
DISPATCH_EXPORT dispatch_time_t dispatch_time(dispatch_time_t when, int64_t delta);
// dispatch/1453057-dispatch_async: "Submits a block for asynchronous execution on a dispatch queue
// and returns immediately."
DISPATCH_EXPORT void dispatch_async(dispatch_queue_t queue, dispatch_block_t block);
// dispatch/dispatch_async_f: "Submits an app-defined function for asynchronous execution on a
// dispatch queue and returns immediately."
DISPATCH_EXPORT void dispatch_async_f(dispatch_queue_t queue, void* _Nullable context,
                                      dispatch_function_t work);
// dispatch/dispatchqueue/sync(execute:)-3segw: "Submits a block object for execution and returns
// after that block finishes executing."
DISPATCH_EXPORT void dispatch_sync(dispatch_queue_t queue, NS_NOESCAPE dispatch_block_t block);
// dispatch/1452876-dispatch_after: "Enqueues a block for execution at the specified time."
DISPATCH_EXPORT void dispatch_after(dispatch_time_t when, dispatch_queue_t queue,
                                    dispatch_block_t block);
// dispatch/dispatch_after_f: "Enqueues an app-defined function for execution at the specified
// time."
DISPATCH_EXPORT void dispatch_after_f(dispatch_time_t when, dispatch_queue_t queue,
                                      void* _Nullable context, dispatch_function_t work);
// dispatch/dispatch_assert_queue: "Generates an assertion if the current block is not running on
// the specified dispatch queue."
DISPATCH_EXPORT void dispatch_assert_queue(dispatch_queue_t queue);
// dispatch/1447169-dispatch_once: "Executes a block object only once for the lifetime of an
// application."
DISPATCH_EXPORT void dispatch_once(dispatch_once_t* predicate, NS_NOESCAPE dispatch_block_t block);

// dispatch/dispatchsemaphore/init(value:): "Creates new counting semaphore with an initial value."
DISPATCH_EXPORT dispatch_semaphore_t dispatch_semaphore_create(intptr_t value)
    __attribute__((ns_returns_retained));
// dispatch/dispatch_semaphore_wait: "Waits for (decrements) a semaphore."
DISPATCH_EXPORT intptr_t dispatch_semaphore_wait(dispatch_semaphore_t dsema,
                                                 dispatch_time_t timeout);
// dispatch/dispatch_semaphore_signal: "Signals (increments) a semaphore."
DISPATCH_EXPORT intptr_t dispatch_semaphore_signal(dispatch_semaphore_t dsema);

// dispatch/dispatchgroup/init(): "Creates a new group to which you can assign block objects."
DISPATCH_EXPORT dispatch_group_t dispatch_group_create(void) __attribute__((ns_returns_retained));
// dispatch/dispatchgroup/enter(): "Explicitly indicates that a block has entered the group."
DISPATCH_EXPORT void dispatch_group_enter(dispatch_group_t group);
// dispatch/dispatchgroup/leave(): "Explicitly indicates that a block in the group finished
// executing."
DISPATCH_EXPORT void dispatch_group_leave(dispatch_group_t group);
// dispatch/1452794-dispatch_group_wait: "Waits synchronously for the previously submitted block
// objects to finish; returns if the blocks do not complete before the specified timeout period has
// elapsed."
DISPATCH_EXPORT intptr_t dispatch_group_wait(dispatch_group_t group, dispatch_time_t timeout);
// dispatch/dispatch_group_notify: "Schedules a block object to be submitted to a queue when a
// group of previously submitted block objects have completed."
DISPATCH_EXPORT void dispatch_group_notify(dispatch_group_t group, dispatch_queue_t queue,
                                           dispatch_block_t block);

// unconfirmed: dispatch/dispatch_source_type_t: "An identifier for the type of system object being
// monitored by a dispatch source."
typedef const struct dispatch_source_type_s* dispatch_source_type_t;
// unconfirmed: docs.rs/dispatch2: "pub static _dispatch_source_type_timer: DispatchSourceType"
DISPATCH_EXPORT const struct dispatch_source_type_s _dispatch_source_type_timer;
// unconfirmed: docs.rs/dispatch2: "pub static _dispatch_source_type_signal: DispatchSourceType"
DISPATCH_EXPORT const struct dispatch_source_type_s _dispatch_source_type_signal;
#define DISPATCH_SOURCE_TYPE_TIMER (&_dispatch_source_type_timer)
#define DISPATCH_SOURCE_TYPE_SIGNAL (&_dispatch_source_type_signal)
// dispatch/dispatch_source_create: "Creates a new dispatch source to monitor low-level system
// events."
DISPATCH_EXPORT dispatch_source_t dispatch_source_create(dispatch_source_type_t type,
                                                         uintptr_t handle, uintptr_t mask,
                                                         dispatch_queue_t _Nullable queue)
    __attribute__((ns_returns_retained));
// dispatch/dispatch_source_set_timer: "Sets a start time, interval, and leeway value for a timer
// source."
DISPATCH_EXPORT void dispatch_source_set_timer(dispatch_source_t source, dispatch_time_t start,
                                               uint64_t interval, uint64_t leeway);
// dispatch/dispatch_source_set_event_handler: "Sets the event handler block for the given dispatch
// source."
DISPATCH_EXPORT void dispatch_source_set_event_handler(dispatch_source_t source,
                                                       dispatch_block_t _Nullable handler);
// dispatch/dispatch_source_set_cancel_handler: "Sets the cancellation handler block for the given
// dispatch source."
DISPATCH_EXPORT void dispatch_source_set_cancel_handler(dispatch_source_t source,
                                                        dispatch_block_t _Nullable handler);
// dispatch/dispatch_source_cancel: "Asynchronously cancels the dispatch source, preventing any
// further invocation of its event handler block."
DISPATCH_EXPORT void dispatch_source_cancel(dispatch_source_t source);
// dispatch/dispatchobject/activate(): "Activates the dispatch object."
DISPATCH_EXPORT void dispatch_activate(NSObject* object);
// dispatch/dispatchobject/resume(): "Resumes the invocation of block objects on a dispatch
// object."
DISPATCH_EXPORT void dispatch_resume(NSObject* object);

NS_ASSUME_NONNULL_END
