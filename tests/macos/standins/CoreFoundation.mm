// Core Foundation's objects are objects here, counted like all others: one that a test makes and
// does not release is still alive in the end.

#import <CoreFoundation/CoreFoundation.h>
#import <Foundation/NSValues.h>

#include <cstring>

const CFAllocatorRef kCFAllocatorDefault = nullptr;

namespace {

constexpr CFTypeID booleanType = 21;
constexpr CFTypeID anyOtherType = 1;

} // namespace

extern "C" void objc_release(id object);

void CFRelease(CFTypeRef object)
{
    objc_release((__bridge id)object);
}

CFTypeID CFGetTypeID(CFTypeRef object)
{
    id one = (__bridge id)object;
    const bool isBoolean = [one isKindOfClass:NSNumber.class] &&
                           std::strcmp([(NSNumber*)one objCType], @encode(BOOL)) == 0;
    return isBoolean ? booleanType : anyOtherType;
}

CFTypeID CFBooleanGetTypeID(void)
{
    return booleanType;
}
