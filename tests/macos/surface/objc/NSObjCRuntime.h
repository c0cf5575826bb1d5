#pragma once

#include <os/availability.h>
#include <stddef.h>
#include <stdint.h>

#ifdef __cplusplus
#define SURFACE_EXTERN extern "C"
#else
#define SURFACE_EXTERN extern
#endif

#define NS_ASSUME_NONNULL_BEGIN _Pragma("clang assume_nonnull begin")
#define NS_ASSUME_NONNULL_END _Pragma("clang assume_nonnull end")

#define SURFACE_OPEN_ENUM __attribute__((enum_extensibility(open)))
#define NS_ENUM(type, name)                                                                        \
    enum SURFACE_OPEN_ENUM name : type name;                                                       \
    enum name : type
#define NS_CLOSED_ENUM(type, name)                                                                 \
    enum __attribute__((enum_extensibility(closed))) name : type name;                             \
    enum name : type
#define NS_ERROR_ENUM(domain, name)                                                                \
    enum __attribute__((ns_error_domain(domain))) name : NSInteger name;                           \
    enum name : NSInteger
// In C++ the members of a set of options join to a number again.
#ifdef __cplusplus
#define NS_OPTIONS(type, name)                                                                     \
    type name;                                                                                     \
    enum : type
#else
#define NS_OPTIONS(type, name)                                                                     \
    enum __attribute__((flag_enum)) name : type name;                                              \
    enum name : type
#endif
#define CF_ENUM NS_ENUM
#define CF_OPTIONS NS_OPTIONS

#define NS_DESIGNATED_INITIALIZER __attribute__((objc_designated_initializer))
#define NS_UNAVAILABLE __attribute__((unavailable))
#define NS_NOESCAPE __attribute__((noescape))
#define NS_REQUIRES_NIL_TERMINATION __attribute__((sentinel(0, 1)))
#define NS_FORMAT_FUNCTION(form, first) __attribute__((format(__NSString__, form, first)))
#define NS_RETURNS_INNER_POINTER __attribute__((objc_returns_inner_pointer))
#define NS_REQUIRES_SUPER __attribute__((objc_requires_super))
#define NS_SWIFT_NAME(name)
#define NS_SWIFT_UI_ACTOR

#define YES __objc_yes
#define NO __objc_no
#define nil __DARWIN_NULL
#define Nil __DARWIN_NULL
#ifdef __cplusplus
#define __DARWIN_NULL nullptr
#else
#define __DARWIN_NULL ((void*)0)
#endif

// objectivec/bool: "Type to represent a Boolean value."
typedef bool BOOL;
// objectivec/nsinteger: "Describes an integer."
typedef long NSInteger;
// objectivec/nsuinteger: "Describes an unsigned integer."
typedef unsigned long NSUInteger;
// foundation/nstimeinterval: "A number of seconds."
typedef double NSTimeInterval;
