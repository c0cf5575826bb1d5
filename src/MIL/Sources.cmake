# What mil is made of; the cross build of the nightly tests reads this list, too.
set(VORLIN_MIL_SOURCES
    ElementType.cpp
    Extents.cpp
    FlexibleShapes.cpp
    Model.cpp
    Tensor.cpp
    Execution/BufferPlan.cpp
    Execution/Chains.cpp
    Execution/Executor.cpp
    Execution/WorkerPool.cpp
    Graph/Call.cpp
    Graph/GraphBuilder.cpp
    Graph/GraphNodes.cpp
    Graph/GraphOperands.cpp
    Graph/Registry.cpp
    Kernels/Convolution/Convolution.cpp
    Kernels/Convolution/ImageColumns.cpp
    Kernels/Convolution/Pooling.cpp
    Kernels/Convolution/TransposedConvolution.cpp
    Kernels/Convolution/Windows.cpp
    Kernels/Elementwise/Binary.cpp
    Kernels/Elementwise/BinaryReference.cpp
    Kernels/Elementwise/Broadcast.cpp
    Kernels/Elementwise/Conversion.cpp
    Kernels/Elementwise/Elements.cpp
    Kernels/Elementwise/Fast.cpp
    Kernels/Elementwise/Selection.cpp
    Kernels/Elementwise/Unary.cpp
    Kernels/Elementwise/UnaryReference.cpp
    Kernels/Indexing/Gather.cpp
    Kernels/Indexing/Pad.cpp
    Kernels/Indexing/Scatter.cpp
    Kernels/Indexing/Slice.cpp
    Kernels/Movement/Construction.cpp
    Kernels/Movement/Movement.cpp
    Kernels/Movement/Shapes.cpp
    Kernels/Movement/StridedCopy.cpp
    Kernels/Movement/Upsample.cpp
    Kernels/Normalisation/Normalisation.cpp
    Kernels/Normalisation/RowFast.cpp
    Kernels/Normalisation/RowReference.cpp
    Kernels/Product/Attention.cpp
    Kernels/Product/DotKernels.cpp
    Kernels/Product/Multiply.cpp
    Kernels/Product/MultiplyKernels.cpp
    Kernels/Product/Operands.cpp
    Kernels/Product/Product.cpp
    Kernels/Recurrent/Lstm.cpp
    Kernels/Reduction/FirstLargest.cpp
    Kernels/Reduction/Order.cpp
    Kernels/Reduction/Reduction.cpp
    Kernels/Rows/AxisSplit.cpp
    Kernels/State/State.cpp
    Kernels/Stored/Forms.cpp
    Kernels/Stored/Mask.cpp
    Kernels/Stored/Quantisation.cpp
    Kernels/Stored/Sparse.cpp
    Kernels/Stored/Stored.cpp
    Kernels/Stored/StoredOperands.cpp
    Kernels/Stored/Unpack.cpp
    Parser/FlexibleShapesReader.cpp
    Parser/Lexer.cpp
    Parser/NumberReader.cpp
    Parser/Parser.cpp
    Weights/MappedFile.cpp
    Weights/WeightFile.cpp
)

# Compiled once for each processor target.
set(VORLIN_MIL_VECTOR_SOURCES
    Kernels/Elementwise/Conversion.cpp
    Kernels/Elementwise/Fast.cpp
    Kernels/Normalisation/RowFast.cpp
    Kernels/Product/DotKernels.cpp
    Kernels/Product/MultiplyKernels.cpp
    Kernels/Reduction/FirstLargest.cpp
    Kernels/Stored/Unpack.cpp
)

# Products are rounded as they are written: no contraction behind our back. Without optimisation
# the kernels would be slower by a factor of fifty, in tests too.
set(VORLIN_MIL_OPTIONS -ffp-contract=off -O2)
# Scalable vectors have no arrays, which the kernels keep their sums in.
set(VORLIN_MIL_DEFINITIONS
    "HWY_DISABLED_TARGETS=(HWY_SVE|HWY_SVE2|HWY_SVE_256|HWY_SVE2_128)")
