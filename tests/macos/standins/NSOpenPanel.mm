#include "NSOpenPanel.h"

#include "Described.h"

namespace standins {

OpenPanel& openPanel()
{
    static OpenPanel person;
    return person;
}

} // namespace standins

@implementation NSSavePanel {
    bool _isCancelled;
}
- (void)setPrompt:(NSString*)prompt
{
    standins::note(self, _cmd, prompt);
}
- (void)setMessage:(NSString*)message
{
    standins::note(self, _cmd, message);
}
- (NSURL*)URL
{
    return [NSURL fileURLWithPath:standins::openPanel().path];
}
- (void)cancel:(id)sender
{
    standins::note(self, _cmd, sender);
    _isCancelled = true;
}
- (NSModalResponse)runModal
{
    standins::note(self, _cmd);
    const standins::OpenPanel person = standins::openPanel();
    standins::openPanel().meanwhile = [] {};
    person.meanwhile();
    return _isCancelled ? 0 : person.answer;
}
@end

@implementation NSOpenPanel
+ (NSOpenPanel*)openPanel
{
    standins::note(self, _cmd);
    return [[self alloc] init];
}
- (void)setCanChooseDirectories:(BOOL)can
{
    standins::note(self, _cmd, can);
}
- (void)setCanChooseFiles:(BOOL)can
{
    standins::note(self, _cmd, can);
}
@end
