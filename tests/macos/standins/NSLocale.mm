#include "NSLocale.h"

#include "Described.h"

NSLocaleKey const NSLocaleLanguageCode = @"kCFLocaleLanguageCodeKey";

namespace standins {

NSString* __strong& languageCode()
{
    static NSString* code = nil;
    return code;
}

} // namespace standins

@implementation NSLocale
+ (NSLocale*)currentLocale
{
    standins::note(self, _cmd);
    return [[NSLocale alloc] init];
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
- (id)objectForKey:(NSLocaleKey)key
{
    standins::note(self, _cmd, key);
    return standins::languageCode();
}
@end
