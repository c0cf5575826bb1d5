#include "Recorder.h"

#import <Foundation/NSProcess.h>

@implementation NSThread
+ (BOOL)isMainThread
{
    return standins::isMainThread();
}
@end
