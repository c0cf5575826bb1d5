#import <Foundation/Foundation.h>

@implementation NSSet {
    NSArray* _objects;
}
+ (instancetype)setWithArray:(NSArray*)objects
{
    NSSet* set = [[self alloc] init];
    set->_objects = objects;
    return set;
}
- (id)copyWithZone:(NSZone*)zone
{
    (void)zone;
    return self;
}
- (NSUInteger)count
{
    return _objects.count;
}
- (BOOL)containsObject:(id)object
{
    return [_objects containsObject:object];
}
- (NSUInteger)countByEnumeratingWithState:(NSFastEnumerationState*)state
                                  objects:(id __unsafe_unretained[])buffer
                                    count:(NSUInteger)length
{
    return [_objects countByEnumeratingWithState:state objects:buffer count:length];
}
@end
