#include "Described.h"

#include "Runtime.h"

#include <sstream>

namespace standins {

std::string nameOf(id object)
{
    const auto* cls = (__bridge const Class*)(id)[object class];
    return cls->data->name;
}

std::string described(id object)
{
    if (object == nil)
        return "nil";
    if ([object isKindOfClass:NSString.class])
        return ((NSString*)object).UTF8String;
    if ([object isKindOfClass:NSURL.class])
        return described([(NSURL*)object description]);
    if ([object isKindOfClass:NSArray.class]) {
        std::string all;
        for (id one in (NSArray*)object)
            all += (all.empty() ? "" : ", ") + described(one);
        return "(" + all + ")";
    }
    return nameOf(object);
}

std::string described(double number)
{
    std::ostringstream text;
    text << number;
    return text.str();
}

std::string described(const NSRect& rect)
{
    return "{" + described(rect.origin.x) + " " + described(rect.origin.y) + " " +
           described(rect.size.width) + " " + described(rect.size.height) + "}";
}

std::string described(SEL selector)
{
    return selector == nullptr ? "nothing" : (const char*)selector;
}

} // namespace standins
