#pragma once

#include <Foundation/Foundation.h>

NS_ASSUME_NONNULL_BEGIN

// coreml/mlmultiarraydatatype: "Constants that define the underlying element types a multiarray
// can store."
typedef NS_ENUM(NSInteger, MLMultiArrayDataType) {
    // coreml/mlmultiarraydatatype/double: "Designates the multiarray’s elements as doubles."
    MLMultiArrayDataTypeDouble = 0x10000 | 64,
    // coreml/mlmultiarraydatatype/float64: "Designates the multiarray’s elements as 64-bit
    // floats."
    MLMultiArrayDataTypeFloat64 API_AVAILABLE(macos(11.0)) = 0x10000 | 64,
    // coreml/mlmultiarraydatatype/float32: "Designates the multiarray’s elements as 32-bit
    // floats."
    MLMultiArrayDataTypeFloat32 = 0x10000 | 32,
    // coreml/mlmultiarraydatatype/float16: "Designates the multiarray’s elements as 16-bit
    // floats."
    MLMultiArrayDataTypeFloat16 API_AVAILABLE(macos(12.0)) = 0x10000 | 16,
    // coreml/mlmultiarraydatatype/float: "Designates the multiarray’s elements as floats."
    MLMultiArrayDataTypeFloat API_AVAILABLE(macos(11.0)) = 0x10000 | 32,
    // coreml/mlmultiarraydatatype/int32: "Designates the multiarray’s elements as 32-bit
    // integers."
    MLMultiArrayDataTypeInt32 = 0x20000 | 32,
    // docs.rs/objc2-core-ml: "pub const Int8: Self = Self(0x20000 | 8)"
    MLMultiArrayDataTypeInt8 API_AVAILABLE(macos(26.0)) = 0x20000 | 8,
};

// coreml/mlmultiarray: "A machine learning collection type that stores numeric values in an array
// with multiple dimensions."
@interface MLMultiArray : NSObject
// coreml/mlmultiarray/datapointer: "A pointer to the multiarray’s underlying memory."
@property(readonly, nonatomic) void* dataPointer API_DEPRECATED(
    "Use getBytesWithHandler or getMutableBytesWithHandler instead.", macos(10.13, 11.0));
// coreml/mlmultiarray/datatype: "The underlying type of the multiarray."
@property(readonly, nonatomic) MLMultiArrayDataType dataType;
// coreml/mlmultiarray/shape: "The multiarray’s multidimensional shape as a number array in which
// each element’s value is the size of the corresponding dimension."
@property(readonly, nonatomic) NSArray<NSNumber*>* shape;
// coreml/mlmultiarray/strides: "A number array in which each element is the number of memory
// locations that span the length of the corresponding dimension."
@property(readonly, nonatomic) NSArray<NSNumber*>* strides;
// coreml/mlmultiarray/count: "The total number of elements in the multiarray."
@property(readonly, nonatomic) NSInteger count;
@end

@interface MLMultiArray (Creation)
// coreml/mlmultiarray/init(shape:datatype:): "Creates a multidimensional array with a shape and
// type."
- (nullable instancetype)initWithShape:(NSArray<NSNumber*>*)shape
                              dataType:(MLMultiArrayDataType)dataType
                                 error:(out NSError* _Nullable* _Nullable)error;
// coreml/mlmultiarray/init(datapointer:shape:datatype:strides:deallocator:): "Creates a multiarray
// from a data pointer."
- (nullable instancetype)initWithDataPointer:(void*)dataPointer
                                       shape:(NSArray<NSNumber*>*)shape
                                    dataType:(MLMultiArrayDataType)dataType
                                     strides:(NSArray<NSNumber*>*)strides
                                 deallocator:(nullable void (^)(void* bytes))deallocator
                                       error:(out NSError* _Nullable* _Nullable)error;
@end

@interface MLMultiArray (ScopedBufferAccess)
// coreml/mlmultiarray/getbyteswithhandler:: "Get the underlying buffer pointer to read."
- (void)getBytesWithHandler:(void(NS_NOESCAPE ^)(const void* bytes, NSInteger size))handler
    API_AVAILABLE(macos(12.3));
@end

@interface MLMultiArray (NSNumberDataAccess)
// coreml/mlmultiarray/subscript(_:)-2hh91: "Accesses the multiarray by using a linear offset."
- (NSNumber*)objectAtIndexedSubscript:(NSInteger)idx;
@end

NS_ASSUME_NONNULL_END
