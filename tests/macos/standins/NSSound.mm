#include "Described.h"

#import <AppKit/NSWorkspace.h>

// Sounds by their names, of which the system knows those of two letters and more.
@implementation NSSound {
    NSString* _name;
}
+ (NSSound*)soundNamed:(NSSoundName)name
{
    standins::note(self, _cmd, name);
    if (name.length < 2)
        return nil;
    NSSound* sound = [[NSSound alloc] init];
    sound->_name = name;
    return sound;
}
- (BOOL)play
{
    standins::note(self, _cmd, _name);
    return YES;
}
@end
