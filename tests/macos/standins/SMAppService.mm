#include "SMAppService.h"

#include "Recorder.h"

namespace standins {

LoginItems& loginItems()
{
    static LoginItems answers;
    return answers;
}

} // namespace standins

namespace {

BOOL change(SMAppServiceStatus status, NSError** error)
{
    const standins::LoginItems& answers = standins::loginItems();
    if (answers.refusal != nil) {
        *error = answers.refusal;
        return NO;
    }
    standins::loginItems().status = status;
    return YES;
}

} // namespace

@implementation SMAppService
+ (SMAppService*)mainAppService
{
    standins::note("+[SMAppService mainAppService]");
    static SMAppService* program = [[SMAppService alloc] init];
    return program;
}
- (SMAppServiceStatus)status
{
    standins::note("-[SMAppService status]");
    return standins::loginItems().status;
}
- (BOOL)registerAndReturnError:(NSError**)error
{
    standins::note("-[SMAppService registerAndReturnError:]");
    return change(SMAppServiceStatusEnabled, error);
}
- (BOOL)unregisterAndReturnError:(NSError**)error
{
    standins::note("-[SMAppService unregisterAndReturnError:]");
    return change(SMAppServiceStatusNotRegistered, error);
}
@end
