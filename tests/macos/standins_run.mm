// What is compiled for macOS, with reference counting, runs here against stand-ins.

#include "Recorder.h"
#include "Runtime.h"

#import <AppKit/NSPasteboard.h>
#import <Foundation/Foundation.h>

#include <cstdio>
#include <functional>
#include <stdexcept>
#include <string>
#include <thread>
#include <vector>

namespace {

int failures = 0;

void expect(bool held, const char* claim)
{
    std::printf("%s  %s\n", held ? "holds" : "FAILS", claim);
    failures += held ? 0 : 1;
}

long freed = 0;

} // namespace

@interface Node : NSObject
@property int value;
@property(copy) NSString* name;
@property(copy) int (^answer)(int);
@property(strong) Node* child;
@property(weak) Node* parent;
- (NSRange)range;
- (NSFastEnumerationState)large;
- (double)half:(double)value of:(NSString*)what;
@end

@implementation Node {
    std::function<int()> _hook;
}
- (NSRange)range
{
    return NSMakeRange(1, 2);
}
- (NSFastEnumerationState)large
{
    NSFastEnumerationState state = {};
    state.extra[4] = 7;
    return state;
}
- (double)half:(double)value of:(NSString*)what
{
    _hook = [=] { return static_cast<int>(what.length) + self->_value; };
    const double result = value / 2 + _hook();
    _hook = nullptr;
    return result;
}
- (void)dealloc
{
    ++freed;
}
@end

namespace {

void messages()
{
    Node* node = [[Node alloc] init];
    node.value = 3;
    expect(node.range.length == 2, "a pair comes back in registers");
    expect(node.large.extra[4] == 7, "a large structure comes back in memory");
    expect([node half:4.0 of:@"ab"] == 7.0, "numbers and objects are handed over");
    Node* nothing = nil;
    expect(nothing.value == 0 && nothing.name == nil && [nothing half:1 of:@""] == 0.0,
           "nothing answers with nothing");
    expect([node respondsToSelector:@selector(range)] &&
               ![node respondsToSelector:@selector(count)],
           "a class knows what it answers to");
}

void references()
{
    const long before = freed;
    __weak Node* seen = nil;
    @autoreleasepool {
        Node* parent = [[Node alloc] init];
        parent.child = [[Node alloc] init];
        parent.child.parent = parent;
        seen = parent;
        expect(parent.child.parent == parent, "a weak reference is followed while it can be");
        int base = 40;
        parent.answer = ^(int value) {
          return base + value;
        };
        expect(parent.answer(2) == 42, "a block keeps what it captured");
    }
    expect(seen == nil, "a weak reference is nothing when its object is gone");
    expect(freed == before + 2, "an object goes with its last strong reference");
    CFTypeRef counted = (__bridge_retained CFTypeRef)[[Node alloc] init];
    expect(freed == before + 2, "what Core Foundation was given stays");
    CFRelease(counted);
    expect(freed == before + 3, "until it is released");
}

std::string thrown(void (^block)(void))
{
    try {
        @try {
            block();
        } @catch (NSException* exception) {
            return exception.reason.UTF8String;
        } @finally {
            ++failures;
            --failures;
        }
    } catch (const std::exception& exception) {
        return std::string("C++ ") + exception.what();
    } catch (...) {
        return "something else";
    }
    return "nothing";
}

void exceptions()
{
    expect(thrown(^{
             [[NSException exceptionWithName:NSGenericException reason:@"why" userInfo:nil] raise];
           }) == "why",
           "an exception is caught by its class");
    expect(thrown(^{
             @throw [[Node alloc] init];
           }) == "something else",
           "an exception of another class goes on");
    expect(thrown(^{
             throw std::runtime_error("said");
           }) == "C++ said",
           "an exception of C++ passes through");
    expect(thrown(^{
           }) == "nothing",
           "without an exception nothing is caught");
}

void values()
{
    NSDictionary* map = @{@"one" : @1, @"half" : @0.5, @"yes" : @YES, @"list" : @[ @"a", @"ü…" ]};
    expect([map[@"one"] integerValue] == 1 && [map[@"half"] doubleValue] == 0.5, "numbers");
    expect(map[@"two"] == nil, "a missing key gives nothing");
    expect([@"ü…" isEqualToString:[NSString stringWithUTF8String:"ü…"]], "text in UTF-8");
    expect(@"𝄞".length == 2, "length in units of 16 bits");
    std::string joined;
    for (NSString* one in map[@"list"])
        joined += one.UTF8String;
    expect(joined == "aü…", "a list is walked through");
    NSError* error = [NSError errorWithDomain:@"Vorlin"
                                         code:1
                                     userInfo:@{NSLocalizedDescriptionKey : @"text"}];
    expect([error.localizedDescription isEqual:@"text"] && error.code == 1, "an error");
    expect(CFGetTypeID((__bridge CFTypeRef) @YES) == CFBooleanGetTypeID() &&
               CFGetTypeID((__bridge CFTypeRef) @1) != CFBooleanGetTypeID(),
           "a boolean is no number to Core Foundation");
    NSData* data = [NSData dataWithBytes:"a\0b" length:3];
    expect(data.length == 3 && static_cast<const char*>(data.bytes)[2] == 'b', "bytes");
}

void recorded()
{
    NSPasteboard* pasteboard = NSPasteboard.generalPasteboard;
    standins::taken();
    [pasteboard clearContents];
    [pasteboard setString:@"words" forType:NSPasteboardTypeString];
    std::thread([=] {
        @autoreleasepool {
            (void)pasteboard.pasteboardItems;
        }
    }).join();
    const std::vector<std::string> expected = {
        "-[NSPasteboard clearContents]",
        "-[NSPasteboard setString:forType:] words public.utf8-plain-text",
        "-[NSPasteboardItem setData:forType:] public.utf8-plain-text",
        "elsewhere: -[NSPasteboard pasteboardItems]",
    };
    expect(standins::taken() == expected, "calls are told in order, with their thread");
    [pasteboard clearContents];
}

} // namespace

int main()
{
    @autoreleasepool {
        messages();
        references();
        exceptions();
        values();
        recorded();
        std::thread([] {
            @autoreleasepool {
                references();
            }
        }).join();
    }
    expect(standins::alive() == 2, "nothing is left in the end but the pasteboard and its list");
    return failures == 0 ? 0 : 1;
}
