// Models: what they declare, their load, and a prediction that a test makes up.

#include "MLModel.h"

#include "Described.h"

@interface NSSet ()
+ (instancetype)setWithArray:(NSArray*)objects;
@end

namespace {

using Loaded = void (^)(MLModel*, NSError*);

Loaded __strong& lastLoad()
{
    static Loaded handler = nil;
    return handler;
}

} // namespace

@interface StandinRange : NSValue
@end
@implementation StandinRange {
@public
    NSRange _range;
}
- (NSRange)rangeValue
{
    return _range;
}
@end

@implementation MLMultiArrayShapeConstraint
@end
@implementation MLMultiArrayConstraint
@end
@implementation MLFeatureDescription
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
- (MLMultiArrayConstraint*)multiArrayConstraint
{
    return self.arrays;
}
@end
@implementation MLModelDescription
@end

@implementation MLModelConfiguration
- (instancetype)init
{
    self = [super init];
    standins::note(self, _cmd);
    self.computeUnits = MLComputeUnitsAll;
    return self;
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
@end

@implementation MLDictionaryFeatureProvider {
    NSDictionary* _values;
}
- (instancetype)initWithDictionary:(NSDictionary*)values error:(NSError**)error
{
    self = [super init];
    standins::note(self, _cmd, values.allKeys);
    _values = [values copy];
    if (standins::models().refusesProviders) {
        *error = standins::models().refusal;
        return nil;
    }
    return self;
}
- (NSSet*)featureNames
{
    return [NSSet setWithArray:_values.allKeys];
}
- (MLFeatureValue*)featureValueForName:(NSString*)name
{
    return _values[name];
}
@end

@implementation MLModel
+ (void)loadContentsOfURL:(NSURL*)url
            configuration:(MLModelConfiguration*)configuration
        completionHandler:(void (^)(MLModel* model, NSError* error))handler
{
    standins::note(self, _cmd, url, (NSInteger)configuration.computeUnits);
    if (standins::models().loadFault != nil)
        @throw standins::models().loadFault;
    lastLoad() = handler;
}
- (id<MLFeatureProvider>)predictionFromFeatures:(id<MLFeatureProvider>)inputs error:(NSError**)error
{
    standins::note(self, _cmd);
    return standins::models().prediction(inputs, error);
}
@end

namespace standins {

Models& models()
{
    static Models answers;
    return answers;
}

void endLoad(MLModel* model, NSError* error)
{
    const Loaded handler = lastLoad();
    lastLoad() = nil;
    handler(model, error);
}

void forgetLoad()
{
    lastLoad() = nil;
}

NSValue* range(NSUInteger location, NSUInteger length)
{
    StandinRange* made = [[StandinRange alloc] init];
    made->_range = NSMakeRange(location, length);
    return made;
}

id<MLFeatureProvider> features(NSDictionary<NSString*, id>* values)
{
    NSError* error = nil;
    return [[MLDictionaryFeatureProvider alloc] initWithDictionary:values error:&error];
}

} // namespace standins
