#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

typedef NS_ENUM(NSInteger, MLMultiArrayDataType) {
    MLMultiArrayDataTypeDouble = 0x10000 | 64,
    MLMultiArrayDataTypeFloat64 API_AVAILABLE(macos(11.0)) = 0x10000 | 64,
    MLMultiArrayDataTypeFloat32 = 0x10000 | 32,
    MLMultiArrayDataTypeFloat16 API_AVAILABLE(macos(12.0)) = 0x10000 | 16,
    MLMultiArrayDataTypeFloat API_AVAILABLE(macos(11.0)) = 0x10000 | 32,
    MLMultiArrayDataTypeInt32 = 0x20000 | 32,
    MLMultiArrayDataTypeInt8 API_AVAILABLE(macos(26.0)) = 0x20000 | 8,
};

@interface MLMultiArray : NSObject
@property(readonly, nonatomic) void* dataPointer
    API_DEPRECATED("Use getBytesWithHandler or getMutableBytesWithHandler instead.", macos(10.13, 11.0));
@property(readonly, nonatomic) MLMultiArrayDataType dataType;
@property(readonly, nonatomic) NSArray<NSNumber*>* shape;
@property(readonly, nonatomic) NSArray<NSNumber*>* strides;
@property(readonly, nonatomic) NSInteger count;
@end

@interface MLMultiArray (Creation)
- (nullable instancetype)initWithShape:(NSArray<NSNumber*>*)shape
                              dataType:(MLMultiArrayDataType)dataType
                                 error:(out NSError* _Nullable* _Nullable)error;
- (nullable instancetype)initWithDataPointer:(void*)dataPointer
                                       shape:(NSArray<NSNumber*>*)shape
                                    dataType:(MLMultiArrayDataType)dataType
                                     strides:(NSArray<NSNumber*>*)strides
                                 deallocator:(nullable void (^)(void* bytes))deallocator
                                       error:(out NSError* _Nullable* _Nullable)error;
@end

@interface MLMultiArray (ScopedBufferAccess)
- (void)getBytesWithHandler:(void(NS_NOESCAPE ^)(const void* bytes, NSInteger size))handler
    API_AVAILABLE(macos(12.3));
- (void)getMutableBytesWithHandler:
    (void(NS_NOESCAPE ^)(void* mutableBytes, NSInteger size, NSArray<NSNumber*>* strides))handler
    API_AVAILABLE(macos(12.3));
@end

@interface MLMultiArray (NSNumberDataAccess)
- (NSNumber*)objectAtIndexedSubscript:(NSInteger)idx;
- (void)setObject:(NSNumber*)obj atIndexedSubscript:(NSInteger)idx;
@end

NS_ASSUME_NONNULL_END
